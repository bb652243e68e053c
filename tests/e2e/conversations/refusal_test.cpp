// A configuration centre that answers wrongly: what the log tells of it, line by line.
#include <algorithm>

#include "conversation.h"

namespace kxtest {
namespace {

using Lines = std::vector<std::string>;

constexpr char kWrittenLine[] = "I kxepinfo write multi ip success";

struct Refusal {
    const char* fault;
    Lines told;
};

std::ostream& operator<<(std::ostream& out, const Refusal& refusal) {
    return out << refusal.fault;
}

std::string NameOf(const std::string& fault) {
    std::string name = fault;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

Lines Undelivered(const std::string& reason) {
    return {"E kxepinfo send msg to local cfg failed with error msg: " + reason};
}

// The reasons in front are the parser's, from the innermost.
Lines Unreadable(Lines reasons) {
    reasons.emplace_back("E cfgparser get ip from cfgc failed");
    reasons.emplace_back("E kxepinfo parse global cfgc failed Type = 2");
    return reasons;
}

class BadAnswer : public ConversationTest, public testing::WithParamInterface<Refusal> {};

TEST_P(BadAnswer, IsToldAndWritesNothingAndTheNextAnswerCounts) {
    Lines expected = GetParam().told;
    StartCentre({"--fault", std::string(GetParam().fault) + ":1"});
    StartHost();
    ASSERT_TRUE(Logs("upload gap is "));
    EXPECT_EQ(ConfigurationLog(expected.size()), expected);
    EXPECT_FALSE(std::filesystem::exists(installation().path("config/net_config.ini")));
    EXPECT_EQ(Ctl({"notify"}).status, 0);
    expected.emplace_back(kWrittenLine);
    EXPECT_EQ(ConfigurationLog(expected.size()), expected);
    EXPECT_EQ(MirrorFile(), MirrorOf("127.0.0.1"));
}

INSTANTIATE_TEST_SUITE_P(
    Faults, BadAnswer,
    testing::Values(Refusal{"silent", Undelivered("Connection timed out")},
                    Refusal{"slow", Undelivered("Connection timed out")},
                    Refusal{"close", Undelivered("Connection reset by peer")},
                    Refusal{"empty", Undelivered("Success")},
                    Refusal{"garbage", Unreadable({"E cfgparser xmsg_unpack pXmsgData failed"})},
                    Refusal{"cut", Unreadable({"E cfgparser xmsg_unpack pXmsgData failed"})},
                    Refusal{"type1005", {}}, Refusal{"no-count", Unreadable({})},
                    Refusal{"no-list", Unreadable({})},
                    Refusal{"bad-list", Unreadable({"E cfgparser xmsg_unpack pXmsgIpData failed"})},
                    Refusal{"missing-ip", Unreadable({})}, Refusal{"huge-count", Unreadable({})}),
    [](const auto& tested) { return NameOf(tested.param.fault); });

class OddCount : public ConversationTest, public testing::WithParamInterface<const char*> {};

TEST_P(OddCount, WritesAnEmptyList) {
    StartCentre({"--fault", GetParam()});
    StartHost();
    EXPECT_EQ(ConfigurationLog(1), Lines{kWrittenLine});
    EXPECT_EQ(MirrorFile(), "[multi_ip]\ncounts=0\n");
}

INSTANTIATE_TEST_SUITE_P(Faults, OddCount,
                         testing::Values("zero-count", "negative-count", "text-count"),
                         [](const auto& tested) { return NameOf(tested.param); });

}  // namespace
}  // namespace kxtest
