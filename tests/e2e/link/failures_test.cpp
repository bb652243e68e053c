// Every way in which a manager fails an upload, and what follows.
#include "link.h"

namespace kxtest {
namespace {

using testing::ElementsAre;

constexpr char kAddressChanged[] = "epinfo.sys_info.nw_info.is_ip_changed";

struct Failure {
    const char* fault;
    bool is_answer;    // something comes back, if only rubbish
    const char* told;  // what the log says of it
};

std::ostream& operator<<(std::ostream& out, const Failure& failure) {
    return out << failure.fault;
}

class Failing : public LinkTest, public testing::WithParamInterface<Failure> {};

TEST_P(Failing, FiveTimesInARowIsOfflineAndOneAnswerEndsIt) {
    StartManager({"--fault", "refuse:4", "--fault", std::string(GetParam().fault) + ":1"});
    EXPECT_EQ(FirstCycle(), "online, 1 failed");
    EXPECT_EQ(NextCycle(), "online, 2 failed");
    EXPECT_EQ(NextCycle(), "online, 3 failed");
    EXPECT_EQ(NextCycle(), "online, 4 failed");
    EXPECT_EQ(NextCycle(), "offline, 5 failed");
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_THAT(Commands(), ElementsAre(14, 14, 14, 14, 14, 14, 2));
}

// What was sent is forgotten, and nothing else: the module goes on knowing over which address the
// manager has answered, be it with rubbish.
TEST_P(Failing, OnceIsOnlineAndEverythingIsToldAgain) {
    installation().write("var/connect.ini", "[connect]\nip=10.2.0.1\n");
    StartManager({"--fault", std::string(GetParam().fault) + ":1"});
    EXPECT_EQ(FirstCycle(), "online, 1 failed");
    EXPECT_TRUE(Logs(GetParam().told));
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_THAT(Commands(), ElementsAre(14, 14, 2));
    const Json first = Upload(0);
    const Json second = Upload(1);
    for (const char* facts : {"sys_info.base_info", "sys_info.nw_info.if_info",
                              "sys_info.agent_info", "sys_info.change", "login_info"}) {
        const std::string path = std::string("epinfo.") + facts;
        EXPECT_TRUE(json_equal(Member(first.get(), path), Member(second.get(), path))) << facts;
        EXPECT_NE(Member(first.get(), path), nullptr) << facts;
    }
    EXPECT_TRUE(json_is_true(Member(first.get(), kAddressChanged)));
    EXPECT_EQ(json_is_true(Member(second.get(), kAddressChanged)), !GetParam().is_answer);
}

INSTANTIATE_TEST_SUITE_P(
    Faults, Failing,
    testing::Values(
        Failure{"refuse", true, "> to mgr failed with error: refused because of --fault refuse"},
        Failure{"garbage", true, "parse kxepinfo response msg from mgr fail"},
        Failure{"short", true, "msg check failed, lenth is 19"},
        Failure{"type2", true, "ParseIpcMsg,not support type:2"},
        Failure{"long", true, "parse mgr response fail, message size not match, header size=20"},
        Failure{"silent", false, "send msg to mgr failed with error msg: Connection timed out"},
        Failure{"close", false, "send msg to mgr failed with error msg: Connection reset by peer"}),
    [](const auto& tested) { return std::string(tested.param.fault); });

using Answer = LinkTest;

TEST_F(Answer, ThatComesAfterItsTimeChangesNothing) {
    StartManager({"--fault", "refuse:4", "--fault", "slow:1"});
    FirstCycle();
    for (int failures = 1; failures < 4; ++failures) {
        NextCycle();
    }
    EXPECT_EQ(NextCycle(), "offline, 5 failed");
    ASSERT_TRUE(Logs("which is not open, is dropped"));
    EXPECT_EQ(State(), "offline, 5 failed");
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_THAT(Commands(), ElementsAre(14, 14, 14, 14, 14, 14));
}

}  // namespace
}  // namespace kxtest
