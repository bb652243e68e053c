// When agent facts count as changed.
#include <gmock/gmock.h>

#include "collectors/agentinfo.h"
#include "common/state.h"
#include "fake_collectors.h"
#include "log_capture.h"

using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class AgentInfoChange : public ::testing::Test {
  protected:
    void SetUp() override {
        Fake() = FakeCollectors{};
        g_strPreConnectIp = g_strCurConnectIp = "10.0.0.5";
        kxtest::ClearLog();
    }

    bool IsChanged() { return IsAgentInfoChanged(previous, current); }

    _stAgentInfo previous;
    _stAgentInfo current;
};

const char* const kConnectIp =
    "Connect IP is Changed, preConnIP is 10.0.0.5, curConnIP is 10.0.0.6";

}  // namespace

TEST_F(AgentInfoChange, IsNoneWhenNothingDiffers) {
    EXPECT_FALSE(IsChanged());
    EXPECT_THAT(Fake().calls, ElementsAre("IsNetInfoChanged", "IsExtChanged", "IsSysChanged"));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(AgentInfoChange, IsNoneWhenTheManagersAddressAloneDiffers) {
    current.ext_info.mgr_addr = "10.0.0.1";
    EXPECT_FALSE(IsChanged());
    EXPECT_THAT(Fake().calls, ElementsAre("IsNetInfoChanged", "IsExtChanged", "IsSysChanged"));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(AgentInfoChange, IsLookedForBetweenThePreviousAndTheCurrentRecord) {
    using Compared = FakeCollectors::Compared;
    EXPECT_FALSE(IsChanged());
    EXPECT_EQ(Fake().net_compared, (Compared{&previous.adapters, &current.adapters}));
    EXPECT_EQ(Fake().ext_compared, (Compared{&previous.ext_info, &current.ext_info}));
    EXPECT_EQ(Fake().sys_compared, (Compared{&previous.sys_info, &current.sys_info}));
}

TEST_F(AgentInfoChange, OfSystemFactsAloneIsOne) {
    Fake().sys_changed = true;
    EXPECT_TRUE(IsChanged());
}

TEST_F(AgentInfoChange, OfVersionsIsOneWithoutALookAtSystemFacts) {
    Fake().ext_changed = true;
    EXPECT_TRUE(IsChanged());
    EXPECT_THAT(Fake().calls, ElementsAre("IsNetInfoChanged", "IsExtChanged"));
}

TEST_F(AgentInfoChange, OfAdaptersStillComparesVersionsForTheirLogLines) {
    Fake().net_changed = true;
    current.adapters.resize(2);
    EXPECT_TRUE(IsChanged());
    EXPECT_THAT(Fake().calls,
                ElementsAre("IsNetInfoChanged", "RecordIpv4Addresses of 2", "IsExtChanged"));
}

TEST_F(AgentInfoChange, OfAdaptersReportsNewAddresses) {
    Fake().net_changed = true;
    Fake().added = {"10.0.0.2", "10.0.0.10"};
    EXPECT_TRUE(IsChanged());
    EXPECT_THAT(Fake().calls,
                ElementsAre("IsNetInfoChanged", "RecordIpv4Addresses of 0",
                            "ReportIpChangeTrace 10.0.0.10 10.0.0.2", "IsExtChanged"));
}

TEST_F(AgentInfoChange, OfTheManagerLinkIsOneAndNothingBehindItIsCompared) {
    g_strCurConnectIp = "10.0.0.6";
    EXPECT_TRUE(IsChanged());
    EXPECT_TRUE(current.is_ip_changed);
    EXPECT_THAT(Fake().calls, ElementsAre("IsNetInfoChanged"));
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(LogLine{3, "kxepinfo", kConnectIp}));
}

TEST_F(AgentInfoChange, OfTheManagerLinkDoesNotKeepNewAddressesFromBeingReported) {
    g_strCurConnectIp = "10.0.0.6";
    Fake().net_changed = true;
    Fake().added = {"10.0.0.6"};
    EXPECT_TRUE(IsChanged());
    EXPECT_THAT(Fake().calls, ElementsAre("IsNetInfoChanged", "RecordIpv4Addresses of 0",
                                          "ReportIpChangeTrace 10.0.0.6"));
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(LogLine{3, "kxepinfo", kConnectIp}));
}

TEST_F(AgentInfoChange, OfTheManagerLinkIsClearedWhenTheManagerHasAnswered) {
    g_strCurConnectIp = "10.0.0.6";
    EXPECT_TRUE(IsChanged());
    g_strPreConnectIp = "10.0.0.6";
    EXPECT_FALSE(IsChanged());
    EXPECT_FALSE(current.is_ip_changed);
}

TEST_F(AgentInfoChange, ComparesTheManagerLinkByEveryByte) {
    g_strCurConnectIp = std::string("10.0.0.5\0", 9);
    EXPECT_TRUE(IsChanged());
}
