// A whole life of the module: everything it calls and logs, in order.
#include <gmock/gmock.h>
#include <pthread.h>

#include <latch>

#include "fake_agent.h"
#include "fixed_collectors.h"
#include "installation.h"
#include "kxepinfo.h"
#include "module/timer.h"
#include "recording_agent.h"

namespace {

// The points at which host and worker wait for each other, so that there is one order.
struct Gates {
    std::latch init_returned{1};
    std::latch stop_now{1};
    std::latch woken{1};
};
Gates* gates = nullptr;

struct Start {
    void* (*entry)(void*);
    void* arg;
};
Start start;

void* RunWorker(void* /*unused*/) {
    gates->init_returned.wait();
    return start.entry(start.arg);
}

int CreateWorker(pthread_t* thread, int flags, void* (*entry)(void*), void* arg) {
    Note("cl_ev_create_isolated_thread " + std::to_string(flags));
    start = {entry, arg};
    return pthread_create(thread, nullptr, RunWorker, nullptr);
}

// The first pass finds the timer due, the second waits until it is woken.
int LoopOnce(cl_timerplus* timer, int pass) {
    if (pass == 1) {
        ProcessMainCb(timer);
    } else {
        gates->stop_now.count_down();
        gates->woken.wait();
    }
    return 1;
}

std::vector<std::string> Whole(std::initializer_list<std::vector<std::string>> parts) {
    std::vector<std::string> whole;
    for (const auto& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

const std::vector<std::string> kCycle = {
    "sleep 1",
    "4 agentres: cpu_used: 5000",
    "4 agentres: total = 1000",
    "4 agentres: available = 400",
    "4 agentres: mem_usaged: 600",
    "4 agentres: mem_total: 1000",
    "4 kxepproto: cpu_usage:50.00(%),mem_total:1000(kB),mem_used:600(kB)",
    "collect agent",
    "compare agent",
    "collect login",
    "compare login",
};

const std::vector<std::string> kSent = {
    "kxe_time",
    "nox_ipc_make_request agt_ei mgr_ei type 0",
};

using ModuleLife = kxtest::InstallationTest;

}  // namespace

TEST_F(ModuleLife, CallsAndLogsInThisOrder) {
    ResetCollectors();
    UseRecordingAgent().loop_once = LoopOnce;
    kxtest::Agent().cl_ev_create_isolated_thread = CreateWorker;
    kxtest::Agent().cl_event_loop_wake = [](pthread_t) {
        Note("cl_event_loop_wake");
        gates->woken.count_down();
    };
    Gates all;
    gates = &all;
    const std::string bin = (kxtest::InstallationRoot() / "bin").string();

    ASSERT_EQ(kxepinfo_init(), 0);
    all.init_returned.count_down();
    all.stop_now.wait();
    ASSERT_EQ(kxepinfo_uninit(), 0);

    const std::vector<std::string> started = {
        "3 libkxepinfo: kxepinfo init\\n",
        "cl_ev_create_isolated_thread 0",
        "3 libkxepinfo: create thread ok\\n",
        "autolog_init " + bin + "/../var/log/agent/kxepinfo 5",
        "3 kxepinfo: kxepinfo module work thread working...\\n",
        "nox_get_hostid",
        "4 kxepinfo: s_AgentId= 4711",
        "nox_ipc_create agt_ei 0",
        "nox_addr_create mgr_ei 2 2",
        "nox_addr_create agt_cfgc 0 0",
        "nox_ipc_on_request",
        "nox_ipc_msg_recv",
        "xmsg_new global",
        "xmsg_add module=global",
        "xmsg_pack_size",
        "xmsg_pack",
        "xmsg_release",
        "nox_ipc_make_request agt_ei agt_cfgc type 1004",
    };
    const std::vector<std::string> served = {
        "kxe_ini_file_load " + bin + "/../config/kxepinfocfg.ini",
        "kxe_ini_file_get flushgap value",
        "kxe_ini_file_free",
        "3 kxepinfo: upload gap is 5\\n",
        "cl_timerplus_start 0 5000",
        "cl_event_loop_once",
        "4 kxepinfo: stepped into timer callback function now...\\n",
    };
    const std::vector<std::string> stopped = {
        "usleep 100000",
        "cl_event_loop_once",
        "3 libkxepinfo: kxepinfo uninit\\n",
        "cl_event_loop_wake",
        "usleep 100000",
        "3 epinfoipc: IPC is unitializing...\\n",
        "nox_ipc_destroy agt_ei",
        "nox_addr_destroy mgr_ei",
        "3 epinfoipc: IPC is unitializing...\\n",
        "3 kxepinfo: kxepinfo module work thread exit\\n",
        "3 libkxepinfo: thread exit ok\\n",
    };
    // The agent's id is asked for once more by the first encoding, and then kept.
    EXPECT_EQ(Journal(),
              Whole({started, kCycle, {"nox_get_hostid"}, kSent, served, kCycle, kSent, stopped}));
}
