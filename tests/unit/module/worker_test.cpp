// The worker's entry, run on the test's own thread.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>
#include <thread>

#include "child_process.h"
#include "collectors/leftbehind.h"
#include "common/state.h"
#include "epinfo.pb.h"
#include "fake_agent.h"
#include "module/timer.h"
#include "open_files.h"
#include "worker_fixture.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

namespace {

std::filesystem::path LogConfiguration() {
    return kxtest::InstallationRoot() / "config/log/agent/kxepinfo/agent";
}

}  // namespace

TEST_F(Worker, LogDirectoriesArePreparedFirst) {
    (void)umask(022);
    const auto record = kxtest::Agent().autolog_init;
    kxtest::Agent().autolog_init = [&](const char* directory, int files) {
        const auto status = std::filesystem::status(LogConfiguration());
        EXPECT_EQ(status.type(), std::filesystem::file_type::directory);
        EXPECT_EQ(status.permissions(), static_cast<std::filesystem::perms>(0755));
        return record(directory, files);
    };
    EXPECT_EQ(Run(), 0);
    const std::string bin = (kxtest::InstallationRoot() / "bin").string();
    EXPECT_EQ(Journal().front(), "autolog_init " + bin + "/../var/log/agent/kxepinfo 5");
}

TEST_F(Worker, AStartForgetsNothingOfTheRunBefore) {
    s_lastAgentInfo.sys_info.host_node = "host";
    s_lastUsrLogInfo.login_name = "root";
    s_checkAgentTimes = 7;
    s_heartbeatMisses = 2;
    Attempt_Times = 3;
    g_preOnlineState = 0;
    g_strCurConnectIp = g_strPreConnectIp = "10.0.0.5";
    exit_flag = 1;  // ends the first cycle before it remembers anything of its own
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(s_lastAgentInfo.sys_info.host_node, "host");
    EXPECT_EQ(s_lastUsrLogInfo.login_name, "root");
    EXPECT_EQ(s_checkAgentTimes, 7);
    EXPECT_EQ(s_heartbeatMisses, 2U);
    EXPECT_EQ(Attempt_Times, 3U);
    EXPECT_EQ(g_preOnlineState, 0U);
    EXPECT_EQ(g_strCurConnectIp, "10.0.0.5");
    EXPECT_EQ(g_strPreConnectIp, "10.0.0.5");
}

TEST_F(Worker, AnExistingLogConfigurationIsLeftAlone) {
    const auto file = kxtest::WriteFile("config/log/agent/kxepinfo/agent/level", "4");
    std::filesystem::permissions(LogConfiguration(), std::filesystem::perms::owner_all);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(std::filesystem::status(LogConfiguration()).permissions(),
              std::filesystem::perms::owner_all);
    EXPECT_EQ(kxtest::ReadFile(file), "4");
}

TEST_F(Worker, ALogDirectoryThatCannotBeMadeStopsNothing) {
    kxtest::WriteFile("config/log", "a file in the way");
    kxtest::Agent().autolog_init = [](const char*, int) { return 20; };
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(SentUploads().size(), 1U);
}

TEST_F(Worker, WhatTheProtobufRuntimeSaysGoesToTheLogWhileItRuns) {
    const auto encode = [] {
        bf_kxepinfo::epinfo_msg_usr login;
        login.set_login_name("\xff");
        EXPECT_EQ(login.SerializeAsString(), "\x12\x01\xff");
    };
    answers->sleep = encode;
    CaptureStderr();
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(GetCapturedStderr(), "");
    EXPECT_THAT(
        Journal(),
        Contains("2 kxepproto: String field 'bf_kxepinfo.epinfo_msg_usr.login_name' contains "
                 "invalid UTF-8 data when serializing a protocol buffer. Use the 'bytes' type if "
                 "you intend to send raw bytes. "));

    CaptureStderr();
    encode();
    EXPECT_NE(GetCapturedStderr(), "");
}

TEST_F(Worker, SignalsAreBlockedWhileItRunsButThoseOfFaults) {
    const auto blocked = [](int signal) {
        sigset_t mask;
        EXPECT_EQ(pthread_sigmask(SIG_BLOCK, nullptr, &mask), 0);
        return sigismember(&mask, signal) == 1;
    };
    sigset_t none;
    ASSERT_EQ(sigemptyset(&none), 0);
    ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &none, nullptr), 0);
    bool looked = false;
    answers->sleep = [&] {
        for (const int signal : {SIGALRM, SIGTERM, SIGPIPE, SIGCHLD, SIGUSR1, SIGRTMAX}) {
            EXPECT_TRUE(blocked(signal)) << signal;
        }
        for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
            EXPECT_FALSE(blocked(signal)) << signal;
        }
        looked = true;
    };
    std::thread([&] { EXPECT_EQ(Run(), 0); }).join();
    EXPECT_TRUE(looked);
}

TEST_F(Worker, ForgetsTheProcessesThatItLeftBehind) {
    const pid_t child = kxtest::InChild([] { return pause(); });
    const std::size_t descriptors = kxtest::OpenDescriptors();
    LeaveBehind(child);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(kxtest::OpenDescriptors(), descriptors);
    EXPECT_EQ(kill(child, SIGKILL), 0);
    EXPECT_EQ(kxtest::ExitOf(child), -SIGKILL);
}

TEST_F(Worker, NullFlagIsMinusOne) {
    EXPECT_EQ(reinterpret_cast<intptr_t>(epInfoSchedule(nullptr)), -1);
    EXPECT_THAT(JournalFrom("2 kxepinfo: Exit flag not setted, can not contiune, error code: "
                            "4294967295\\n"),
                ElementsAre("2 kxepinfo: Exit flag not setted, can not contiune, error code: "
                            "4294967295\\n",
                            kExit));
    EXPECT_THAT(Journal(), Not(Contains("nox_get_hostid")));
}

TEST_F(Worker, FailedEndpointIsMinusOne) {
    answers->ipc_create = false;
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(JournalFrom("nox_ipc_create agt_ei 0"),
                ElementsAre("nox_ipc_create agt_ei 0",
                            "2 epinfoipc: create ipc failed with error code: -1\\n",
                            "2 kxepinfo: Initialize IPC in kxepinfo failed with error code -1",
                            kUnitializing, kUnitializing, kExit));
}

TEST_F(Worker, FailedAddressTearsDownWhatWasMade) {
    answers->cfgc_address = false;
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(
        JournalFrom(kAddressOfCfgc),
        ElementsAre(kAddressOfCfgc, "2 epinfoipc: nox_addr_create failed with error code: -1\\n",
                    "2 kxepinfo: Initialize IPC in kxepinfo failed with error code -1",
                    kUnitializing, "nox_ipc_destroy agt_ei", "nox_addr_destroy mgr_ei",
                    kUnitializing, kExit));
}

TEST_F(Worker, FailedRequestRegistrationIsMinusOne) {
    answers->on_request = 5;
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(JournalFrom("nox_ipc_on_request"),
                ElementsAre("nox_ipc_on_request",
                            "2 epinfoipc: on_request failed with code: \t\t\t\t -1 and errmsg: "
                            "text of the code",
                            "2 kxepinfo: Initialize IpcRecvCallback in kxepinfo failed with error "
                            "code: 4294967295",
                            kUnitializing, "nox_ipc_destroy agt_ei", "nox_addr_destroy mgr_ei",
                            kUnitializing, kExit));
}

TEST_F(Worker, FailedMessageRegistrationIsMinusOne) {
    answers->msg_recv = -1;
    EXPECT_EQ(Run(), -1);
    EXPECT_THAT(
        JournalFrom("nox_ipc_msg_recv"),
        ElementsAre("nox_ipc_msg_recv",
                    "2 epinfoipc: bind IpcOnMsgRecv to m_pAgtCfgAddr failed with code:"
                    "               -1 and errmsg: text of the code",
                    "2 kxepinfo: Initialize IpcRecvCallback in kxepinfo failed", kUnitializing,
                    "nox_ipc_destroy agt_ei", "nox_addr_destroy mgr_ei", kUnitializing, kExit));
}

TEST_F(Worker, AnotherCodeOfTheMessageRegistrationDoesNotStopIt) {
    answers->msg_recv = 5;
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(SentUploads().size(), 1U);
}

TEST_F(Worker, AStopDuringTheFirstCycleSkipsTheLoop) {
    answers->sleep = [this] { exit_flag = 1; };
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(
        JournalFrom(kInterrupted),
        ElementsAre(kInterrupted,
                    "kxe_ini_file_load " + (kxtest::InstallationRoot() / "bin").string() +
                        "/../config/kxepinfocfg.ini",
                    "kxe_ini_file_get flushgap value", "kxe_ini_file_free",
                    "3 kxepinfo: upload gap is 5\\n", "cl_timerplus_start 0 5000", kUnitializing,
                    "nox_ipc_destroy agt_ei", "nox_addr_destroy mgr_ei", kUnitializing, kExit));
}

TEST_F(Worker, AnyNumberButZeroSkipsTheLoop) {
    answers->sleep = [this] { exit_flag = 2; };
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(JournalFrom("cl_timerplus_start 0 5000"),
                ElementsAre("cl_timerplus_start 0 5000", kUnitializing, "nox_ipc_destroy agt_ei",
                            "nox_addr_destroy mgr_ei", kUnitializing, kExit));
}

TEST_F(Worker, ATimerThatCannotBeArmedEndsIt) {
    answers->timer = false;
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(
        JournalFrom("cl_timerplus_start 0 5000"),
        ElementsAre("cl_timerplus_start 0 5000",
                    "2 kxepinfo: start timer failed in kxepinfo main routine", kUnitializing,
                    "nox_ipc_destroy agt_ei", "nox_addr_destroy mgr_ei", kUnitializing, kExit));
}

TEST_F(Worker, TheTimerGetsIntervalEndpointAndFlag) {
    answers->loop_once = [this](cl_timerplus* timer, int) {
        const auto* const arg = static_cast<const _stTimerArg*>(timer->user);
        EXPECT_EQ(arg->interval_ms, 5000);
        EXPECT_NE(arg->ipc, nullptr);
        EXPECT_EQ(arg->exit_flag, &exit_flag);
        return 0;
    };
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(Journal(), Contains("cl_event_loop_once"));
}

TEST_F(Worker, TheIntervalIsMultipliedIn64BitsAndStoredIn32) {
    answers->gap = "2147483647";
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(Journal(), Contains("cl_timerplus_start 0 -1000"));
}

TEST_F(Worker, ALoopThatEndsByItselfEndsIt) {
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(
        JournalFrom("cl_event_loop_once"),
        ElementsAre("cl_event_loop_once", "usleep 100000", kUnitializing, "nox_ipc_destroy agt_ei",
                    "nox_addr_destroy mgr_ei", kUnitializing, kExit));
}

TEST_F(Worker, EachPassOfTheLoopIsFollowedByAPause) {
    answers->loop_once = [this](cl_timerplus*, int pass) {
        exit_flag = pass == 3 ? 1 : 0;
        return 1;
    };
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(
        JournalFrom("cl_event_loop_once"),
        ElementsAre("cl_event_loop_once", "usleep 100000", "cl_event_loop_once", "usleep 100000",
                    "cl_event_loop_once", "usleep 100000", kUnitializing, "nox_ipc_destroy agt_ei",
                    "nox_addr_destroy mgr_ei", kUnitializing, kExit));
}

TEST_F(Worker, TheIntervalIsReadOnce) {
    answers->loop_once = [this](cl_timerplus* timer, int pass) {
        ProcessMainCb(timer);
        answers->gap = "9";
        return pass < 3 ? 1 : 0;
    };
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(SentUploads().size(), 4U);
    const std::vector<std::string> events = Journal();
    EXPECT_EQ(std::count(events.begin(), events.end(), "kxe_ini_file_get flushgap value"), 1);
}
