// Runs the worker's entry on the test's own thread, with recording agent libraries.
#ifndef KXEPINFO_TESTS_UNIT_MODULE_WORKER_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_MODULE_WORKER_FIXTURE_H

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "installation.h"
#include "module/worker.h"
#include "recording_agent.h"

class Worker : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        answers = &UseRecordingAgent();
    }

    intptr_t Run() { return reinterpret_cast<intptr_t>(epInfoSchedule(&exit_flag)); }

    // The journal from the first event of that name on.
    static std::vector<std::string> JournalFrom(const std::string& event) {
        std::vector<std::string> events = Journal();
        events.erase(events.begin(), std::find(events.begin(), events.end(), event));
        return events;
    }

    Answers* answers = nullptr;
    int exit_flag = 0;
};

inline const char* const kAddressOfCfgc = "nox_addr_create agt_cfgc 0 0";
inline const char* const kUnitializing = "3 epinfoipc: IPC is unitializing...\\n";
inline const char* const kExit = "3 kxepinfo: kxepinfo module work thread exit\\n";
inline const char* const kInterrupted = "3 kxepinfo: exit event occured, exit now...\\n";
inline const char* const kSend = "nox_ipc_make_request agt_ei mgr_ei type 0";

#endif  // KXEPINFO_TESTS_UNIT_MODULE_WORKER_FIXTURE_H
