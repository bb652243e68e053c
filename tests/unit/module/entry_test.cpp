// kxepinfo_init and kxepinfo_uninit, without a worker's work.
#include <gmock/gmock.h>

#include "common/exitflag.h"
#include "fake_agent.h"
#include "kxepinfo.h"
#include "log_capture.h"
#include "module/lifecycle.h"
#include "module/worker.h"

using kxtest::Agent;
using kxtest::LogLine;
using ::testing::ElementsAre;

// header_c11.c
extern "C" int HeaderWorksInC(void);

namespace {

LogLine Information(const char* text) {
    return {3, "libkxepinfo", text};
}

void* ReadsFlagUntilSet(void* flag) {
    while (ReadExitFlag(static_cast<int*>(flag)) == 0) {
        sched_yield();
    }
    return nullptr;
}

// Makes a thread that waits for the flag, instead of the worker.
int CreateWaiting(pthread_t* thread, int /*flags*/, void* (* /*entry*/)(void*), void* arg) {
    return pthread_create(thread, nullptr, ReadsFlagUntilSet, arg);
}

class EntryPoints : public ::testing::Test {
  protected:
    void SetUp() override {
        kxtest::ResetAgent();
        Agent().cl_ev_create_isolated_thread = CreateWaiting;
        Agent().cl_event_loop_wake = [](pthread_t) {};
        kxtest::ClearLog();
    }
};

}  // namespace

TEST_F(EntryPoints, InitCreatesTheWorkerWithTheFlagAsItsArgument) {
    Agent().cl_ev_create_isolated_thread = [](pthread_t* thread, int flags, void* (*entry)(void*),
                                              void* arg) {
        EXPECT_EQ(thread, &s_workThread);
        EXPECT_EQ(flags, 0);
        EXPECT_EQ(entry, epInfoSchedule);
        EXPECT_EQ(arg, &s_exitFlag);
        return CreateWaiting(thread, flags, entry, arg);
    };
    EXPECT_EQ(kxepinfo_init(), 0);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(Information("kxepinfo init\n"), Information("create thread ok\n")));
    EXPECT_EQ(kxepinfo_uninit(), 0);
}

TEST_F(EntryPoints, InitReturnsTheCodeOfAFailedCreation) {
    Agent().cl_ev_create_isolated_thread = [](pthread_t*, int, void* (*)(void*), void*) {
        return 11;
    };
    EXPECT_EQ(kxepinfo_init(), 11);
    EXPECT_EQ(s_workThread, 0U);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(Information("kxepinfo init\n"),
                            LogLine{2, "libkxepinfo", "create thread return error, return 11"}));
}

TEST_F(EntryPoints, InitKeepsNoHandleThatAFailedCreationLeft) {
    Agent().cl_ev_create_isolated_thread = [](pthread_t* thread, int, void* (*)(void*), void*) {
        *thread = 0x5a5a5a5a;
        return 12;
    };
    EXPECT_EQ(kxepinfo_init(), 12);
    EXPECT_EQ(s_workThread, 0U);
    EXPECT_EQ(kxepinfo_uninit(), 0);
}

TEST_F(EntryPoints, AFailedSecondInitKeepsTheRunningWorkersHandle) {
    ASSERT_EQ(kxepinfo_init(), 0);
    const pthread_t running = s_workThread;
    Agent().cl_ev_create_isolated_thread = [](pthread_t* thread, int, void* (*)(void*), void*) {
        *thread = 0x5a5a5a5a;
        return 12;
    };
    EXPECT_EQ(kxepinfo_init(), 12);
    EXPECT_TRUE(pthread_equal(s_workThread, running));
    EXPECT_EQ(kxepinfo_uninit(), 0);
}

TEST_F(EntryPoints, UninitWaitsForTheWorkerAndResetsFlagAndHandle) {
    ASSERT_EQ(kxepinfo_init(), 0);
    EXPECT_NE(s_workThread, 0U);
    kxtest::ClearLog();
    EXPECT_EQ(kxepinfo_uninit(), 0);
    EXPECT_EQ(s_workThread, 0U);
    EXPECT_EQ(s_exitFlag, 0);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(Information("kxepinfo uninit\n"), Information("thread exit ok\n")));
}

TEST_F(EntryPoints, UninitWakesTheWorkerOnceTheFlagIsSet) {
    ASSERT_EQ(kxepinfo_init(), 0);
    const pthread_t worker = s_workThread;
    int woken = 0;
    Agent().cl_event_loop_wake = [&](pthread_t thread) {
        ++woken;
        EXPECT_NE(pthread_equal(thread, worker), 0);
        EXPECT_EQ(ReadExitFlag(&s_exitFlag), 1);
    };
    EXPECT_EQ(kxepinfo_uninit(), 0);
    EXPECT_EQ(woken, 1);
}

TEST_F(EntryPoints, TheModuleStartsAgainAfterAStop) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(kxepinfo_init(), 0);
        EXPECT_EQ(kxepinfo_uninit(), 0);
    }
}

TEST_F(EntryPoints, AHostInCStartsAndStopsTheModule) {
    EXPECT_EQ(HeaderWorksInC(), 1);
}

TEST_F(EntryPoints, UninitWithoutAWorkerWaitsForNobody) {
    Agent().cl_event_loop_wake = [](pthread_t) { ADD_FAILURE() << "there is nobody to wake"; };
    EXPECT_EQ(kxepinfo_uninit(), 0);
    EXPECT_EQ(s_exitFlag, 0);
}

TEST_F(EntryPoints, LinkStateStartsOnlineAndEmpty) {
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_EQ(Attempt_Times, 0U);
    EXPECT_EQ(g_strCurConnectIp, "");
    EXPECT_EQ(g_strPreConnectIp, "");
}
