// The link to the manager, one upload at a time.
#ifndef KXEPINFO_TESTS_E2E_LINK_LINK_H
#define KXEPINFO_TESTS_E2E_LINK_LINK_H

#include <signal.h>

#include <string>
#include <vector>

#include "exported_number.h"
#include "quiet_machine.h"

namespace kxtest {

class LinkTest : public QuietMachineTest {
  protected:
    void BeginFirstCycle() { m_host = &StartSteppedHost(); }
    // The link's state when the first upload has been answered or given up.
    std::string FirstCycle() {
        BeginFirstCycle();
        return StateAfterOutcome(1);
    }
    // The same for the next upload.
    std::string NextCycle() {
        const std::size_t outcomes = CountOfOutcomes();
        StepToNextCycle();
        return StateAfterOutcome(outcomes + 1);
    }
    // The same without an upload, when so many have been answered or given up.
    std::string StateAfterOutcome(std::size_t count) {
        EXPECT_TRUE(WaitUntil([&] { return CountOfOutcomes() >= count; })) << installation().log();
        return State();
    }

    // As "online, 4 failed": the online state as the agent tells it, Attempt_Times as it stands in
    // the host. The agent answers behind what it is doing, so the number is that of the same
    // moment.
    std::string State() {
        const std::string state = Ctl({"online"}).output;
        const auto failed = ExportedNumber(m_host->pid(), installation().path("lib/libkxepinfo.so"),
                                           "Attempt_Times");
        return state.substr(0, state.find('\n')) + ", " + (failed ? std::to_string(*failed) : "?") +
               " failed";
    }

    Program& host() { return *m_host; }

    void KillManager() {
        manager().signal(SIGKILL);
        ASSERT_EQ(manager().wait(), 128 + SIGKILL);
    }

    // The cmd of each upload that this manager has printed.
    std::vector<long long> Commands() {
        std::vector<long long> commands;
        for (std::size_t number = 0; number < UploadCount(); ++number) {
            commands.push_back(Cmd(number));
        }
        return commands;
    }

  private:
    std::size_t CountOfOutcomes() const {
        return CountOf(installation().log(), "step into ipc responed function");
    }

    Program* m_host = nullptr;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_LINK_LINK_H
