// The module lives with libraries of the agent of which none is ours, and an event loop that cannot
// be woken.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include "plain_agent/loop.h"
#include "plain_agent_fixture.h"

using testing::HasSubstr;
using testing::Not;

TEST_F(PlainAgent, NothingOfOursIsMapped) {
    Start();
    const std::string maps = kxtest::ReadFile("/proc/self/maps");
    EXPECT_THAT(maps, HasSubstr("/libkxepinfo.so"));
    for (const char* library : {"cl_ev", "autolog", "noxipc", "xmsg", "kxebase"}) {
        EXPECT_THAT(maps, HasSubstr(std::string(KX_PLAIN_FOLDER "/lib") + library + ".so"));
    }
    EXPECT_THAT(maps, Not(HasSubstr(KX_OUR_LIBRARIES)));
    for (const char* underneath_ours : {"/libuv.so", "/libspdlog.so"}) {
        EXPECT_THAT(maps, Not(HasSubstr(underneath_ours)));
    }
    Stop();
}

TEST_F(PlainAgent, TheEventLoopInUseCannotBeWoken) {
    EXPECT_EQ(dlsym(RTLD_DEFAULT, "cl_event_loop_wake"), nullptr);
    EXPECT_NE(dlsym(RTLD_DEFAULT, "cl_event_loop_once"), nullptr);
    Start();
    Stop();
    EXPECT_FALSE(plain::WorkerRuns());
}

TEST_F(PlainAgent, TheModuleUploadsAtItsStartAndWhenTheTimerIsDue) {
    Start();
    EXPECT_EQ(plain::RequestsTo("mgr_ei").size(), 1U);
    RunCycle();
    EXPECT_EQ(plain::RequestsTo("mgr_ei").size(), 2U);
    Stop();
}
