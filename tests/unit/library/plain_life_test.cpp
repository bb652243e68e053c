// What remains of the module in the plain agent's libraries.
#include <gmock/gmock.h>

#include "plain_agent/handles.h"
#include "plain_agent_fixture.h"

using PlainLife = PlainAgent;

TEST_F(PlainLife, WhileItRunsTheModuleHoldsTheBusAndItsTwoAddresses) {
    Start();
    EXPECT_THAT(plain::HandlesOut(),
                testing::ElementsAre("address agt_cfgc", "address mgr_ei", "bus instance"));
    Stop();
}

TEST_F(PlainLife, AfterItsEndOnlyTheAddressOfTheConfigurationCentreIsLeft) {
    Start();
    Stop();
    EXPECT_THAT(plain::HandlesOut(), testing::ElementsAre("address agt_cfgc"));
}

TEST_F(PlainLife, FiftyTimesWithUnloadingLeaveOneAddressEach) {
    constexpr int kTimes = 50;
    module.reset();
    for (int i = 0; i < kTimes; ++i) {
        module.emplace();
        Start();
        Stop();
        module.reset();
        ASSERT_FALSE(IsMapped("libkxepinfo.so")) << i;
    }
    EXPECT_EQ(plain::RequestsTo("mgr_ei").size(), std::size_t{kTimes});
    EXPECT_EQ(plain::HandlesOut(), std::vector<std::string>(kTimes, "address agt_cfgc"));
}
