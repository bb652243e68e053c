// The configuration centre's addresses, mirrored to net_config.ini.
#include "agent.h"

namespace kxtest {
namespace {

using Mirror = AgentTest;

constexpr char kWritten[] = "write multi ip success";

class Fetch : public AgentTest {
  protected:
    Fetch() {
        installation().write("config/cfgc.ini", "[multi_ip]\nip0=192.0.2.1\nip1=192.0.2.2\n");
    }
};

TEST_F(Fetch, AtTheStartWritesTheAddresses) {
    StartCentre();
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    const std::string mirror = installation().read("config/net_config.ini");
    EXPECT_THAT(mirror, testing::ContainsRegex("\\[multi_ip\\]\ncounts *= *2\nip0 *= *192.0.2.1\n"
                                               "ip1 *= *192.0.2.2\n"));
}

TEST_F(Fetch, KeepsWhatOthersWroteToTheFile) {
    installation().write("config/net_config.ini",
                         "; kept by others\n[proxy]\nport=8080\n[multi_ip]\nip7=192.0.2.9\n");
    StartCentre();
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    const std::string mirror = installation().read("config/net_config.ini");
    EXPECT_THAT(mirror, testing::HasSubstr("; kept by others\n"));
    EXPECT_THAT(mirror, testing::ContainsRegex("\\[proxy\\]\nport *= *8080\n"));
    EXPECT_THAT(mirror, testing::Not(testing::HasSubstr("ip7")));
}

TEST_F(Fetch, FollowsAChangeOfTheAddressFile) {
    StartCentre();
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    installation().write("config/cfgc.ini", "[multi_ip]\nip0=192.0.2.77\n");
    EXPECT_TRUE(WaitUntil([&] {
        const std::string mirror = installation().read("config/net_config.ini");
        return mirror.find("192.0.2.77") != std::string::npos &&
               mirror.find("192.0.2.2") == std::string::npos;
    })) << installation().log();
}

TEST_F(Fetch, ACentreThatStartsLateIsAskedAtItsNotification) {
    StartHost();
    ASSERT_TRUE(Logs("send msg to local cfg failed with error msg: "));
    StartCentre();
    EXPECT_EQ(Ctl({"notify"}).status, 0);
    EXPECT_TRUE(Logs(kWritten));
}

struct Refusal {
    const char* fault;
    const char* told;
};

std::ostream& operator<<(std::ostream& out, const Refusal& refusal) {
    return out << refusal.fault;
}

class BadAnswer : public AgentTest, public testing::WithParamInterface<Refusal> {};

TEST_P(BadAnswer, IsToldAndWritesNothing) {
    StartCentre({"--fault", std::string(GetParam().fault) + ":1"});
    StartHost();
    EXPECT_TRUE(Logs(GetParam().told));
    EXPECT_FALSE(std::filesystem::exists(installation().path("config/net_config.ini")));
    // The next answer is a good one.
    EXPECT_EQ(Ctl({"notify"}).status, 0);
    EXPECT_TRUE(Logs(kWritten));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, BadAnswer,
    testing::Values(Refusal{"silent", "send msg to local cfg failed with error msg: "},
                    Refusal{"close", "send msg to local cfg failed with error msg: "},
                    Refusal{"empty", "send msg to local cfg failed with error msg: "},
                    Refusal{"garbage", "xmsg_unpack pXmsgData failed"},
                    Refusal{"cut", "xmsg_unpack pXmsgData failed"},
                    Refusal{"no-count", "get ip from cfgc failed"},
                    Refusal{"no-list", "get ip from cfgc failed"},
                    Refusal{"bad-list", "xmsg_unpack pXmsgIpData failed"},
                    Refusal{"missing-ip", "get ip from cfgc failed"},
                    Refusal{"huge-count", "get ip from cfgc failed"}),
    [](const auto& tested) {
        std::string name = tested.param.fault;
        std::replace(name.begin(), name.end(), '-', '_');
        return name;
    });

class OddCount : public AgentTest, public testing::WithParamInterface<const char*> {};

TEST_P(OddCount, WritesAnEmptyList) {
    StartCentre({"--fault", GetParam()});
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    EXPECT_THAT(installation().read("config/net_config.ini"),
                testing::ContainsRegex("\\[multi_ip\\]\ncounts *= *0\n"));
    EXPECT_THAT(installation().read("config/net_config.ini"),
                testing::Not(testing::HasSubstr("ip0")));
}

INSTANTIATE_TEST_SUITE_P(Faults, OddCount,
                         testing::Values("zero-count", "negative-count", "text-count"),
                         [](const auto& tested) {
                             std::string name = tested.param;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return name;
                         });

TEST_F(Mirror, LeavesOutAnAddressOf64Characters) {
    StartCentre({"--fault", "long-value"});
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    EXPECT_THAT(installation().read("config/net_config.ini"),
                testing::ContainsRegex("counts *= *1\nip0 *= *127.0.0.1\n"));
}

TEST_F(Mirror, IgnoresAnAnswerOfAnotherType) {
    StartCentre({"--fault", "type1005:1"});
    StartHost();
    ASSERT_TRUE(Logs("upload gap is 2"));
    EXPECT_EQ(Ctl({"notify"}).status, 0);
    ASSERT_TRUE(Logs(kWritten));
    EXPECT_EQ(installation().log().find("cfgc failed"), std::string::npos);
}

}  // namespace
}  // namespace kxtest
