#include "common/watch.h"

#include <gmock/gmock.h>

#include "common/frame.h"
#include "common/keyvalue.h"

using kxapp::PackMessage;
using kxapp::WatchAnswer;
using kxapp::WatchQuestion;
using kxapp::WatchState;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kHighest[] = "9223372036854775807";
constexpr char kBeyond[] = "9223372036854775808";

// Why a question is refused; empty when it is not.
std::string QuestionFault(const std::string& data) {
    std::string fault;
    const auto question = kxapp::ReadWatchQuestion(data, fault);
    return question ? "" : fault;
}

std::string AnswerFault(const std::string& data, std::uint64_t after = 0) {
    std::string fault;
    const auto answer = kxapp::ReadWatchAnswer(data, after, fault);
    return answer ? "" : fault;
}

std::string WatchedFault(const kxapp::Entries& entries) {
    std::string fault;
    const auto watched = kxapp::ReadWatched(PackMessage("m", entries), fault);
    return watched ? "" : fault;
}

}  // namespace

TEST(WatchQuestion, ComesBackAsItWasPacked) {
    std::string fault;
    const auto begin = kxapp::ReadWatchQuestion(kxapp::PackWatchQuestion({{}, "agt_ei"}), fault);
    ASSERT_TRUE(begin.has_value());
    EXPECT_EQ(begin->after, std::nullopt);
    EXPECT_EQ(begin->agent, "agt_ei");
    const auto next = kxapp::ReadWatchQuestion(kxapp::PackWatchQuestion({0, ""}), fault);
    ASSERT_TRUE(next.has_value());
    EXPECT_EQ(next->after, 0U);
    EXPECT_EQ(next->agent, "");
}

TEST(WatchQuestion, ThatIsNoneIsRefused) {
    EXPECT_EQ(QuestionFault("after"), "no message");
    EXPECT_EQ(QuestionFault(PackMessage("q", {{"after", "-1"}})), "an impossible after");
    EXPECT_EQ(QuestionFault(PackMessage("q", {{"after", kHighest}})), "");
    EXPECT_EQ(QuestionFault(PackMessage("q", {{"after", kBeyond}})), "an impossible after");
    EXPECT_EQ(QuestionFault(PackMessage("q", {{"agent", std::string(64, 'a')}})), "");
    EXPECT_EQ(QuestionFault(PackMessage("q", {{"agent", std::string(65, 'a')}})),
              "an impossible agent");
}

TEST(WatchAnswer, ComesBackAsItWasPacked) {
    std::string fault;
    const auto watching = kxapp::ReadWatchAnswer(
        kxapp::PackWatchAnswer({WatchState::kWatching, "", 8, {"one", "two"}}), 7, fault);
    ASSERT_TRUE(watching.has_value());
    EXPECT_EQ(watching->state, WatchState::kWatching);
    EXPECT_EQ(watching->first, 8U);
    EXPECT_THAT(watching->uploads, ElementsAre("one", "two"));
    const auto refused = kxapp::ReadWatchAnswer(
        kxapp::PackWatchAnswer({WatchState::kRefused, "full", 0, {}}), 0, fault);
    ASSERT_TRUE(refused.has_value());
    EXPECT_EQ(refused->state, WatchState::kRefused);
    EXPECT_EQ(refused->why, "full");
    const auto unknown =
        kxapp::ReadWatchAnswer(kxapp::PackWatchAnswer({WatchState::kUnknown, "", 0, {}}), 7, fault);
    ASSERT_TRUE(unknown.has_value());
    EXPECT_EQ(unknown->state, WatchState::kUnknown);
    EXPECT_THAT(unknown->uploads, IsEmpty());
}

TEST(WatchAnswer, ThatIsNoneIsRefused) {
    EXPECT_EQ(AnswerFault("x"), "no message");
    EXPECT_EQ(AnswerFault(PackMessage("m", {})), "an unknown state");
    EXPECT_EQ(AnswerFault(PackMessage("m", {{"state", "gone"}})), "an unknown state");
    const std::pair<std::string, std::string> watching{"state", "watching"};
    EXPECT_EQ(AnswerFault(PackMessage("m", {watching})), "no first");
    EXPECT_EQ(AnswerFault(PackMessage("m", {watching, {"first", "x"}})), "an impossible first");
    EXPECT_EQ(AnswerFault(PackMessage("m", {watching, {"first", kBeyond}})), "an impossible first");
    EXPECT_EQ(AnswerFault(PackMessage("m", {watching, {"first", "1"}})), "no count");
    EXPECT_EQ(AnswerFault(PackMessage("m", {watching, {"first", "1"}, {"count", "257"}})),
              "an impossible count");
    EXPECT_EQ(
        AnswerFault(PackMessage("m", {watching, {"first", "1"}, {"count", "2"}, {"0", "upload"}})),
        "no upload 1");
}

TEST(WatchAnswer, RepeatsNothing) {
    const auto answer = kxapp::PackWatchAnswer({WatchState::kWatching, "", 5, {"upload"}});
    EXPECT_EQ(AnswerFault(answer, 4), "");
    EXPECT_EQ(AnswerFault(answer, 3), "");
    EXPECT_EQ(AnswerFault(answer, 5), "uploads from number 5 on, where 5 was received already");
    // Without uploads the number says nothing.
    EXPECT_EQ(AnswerFault(kxapp::PackWatchAnswer({WatchState::kWatching, "", 5, {}}), 9), "");
}

TEST(Watched, ComesBackAsItWasPacked) {
    const std::string frame = kxapp::MakeFrame("\x08\x02\x10\x2A");
    std::string fault;
    const auto upload = kxapp::ReadUpload({"agt_ei", 7, 0, frame}, {1700000000, 5'999'999}, fault);
    ASSERT_TRUE(upload.has_value());
    bf_kxepinfo::epinfo_msg_respone answer;
    answer.set_res_msg("no");
    const auto watched = kxapp::ReadWatched(kxapp::PackWatched(*upload, "silent", answer), fault);
    ASSERT_TRUE(watched.has_value()) << fault;
    EXPECT_EQ(watched->received.tv_sec, 1700000000);
    EXPECT_EQ(watched->received.tv_nsec, 5'000'000);
    EXPECT_EQ(watched->from, "agt_ei");
    EXPECT_EQ(watched->request_id, 7U);
    EXPECT_EQ(watched->frame, frame);
    EXPECT_EQ(watched->fault, "silent");
    EXPECT_EQ(watched->answer, answer.SerializeAsString());
}

TEST(Watched, HasNoFaultWhereNoneWasPlayed) {
    std::string fault;
    const auto watched = kxapp::ReadWatched(kxapp::PackWatched({}, "", {}), fault);
    ASSERT_TRUE(watched.has_value()) << fault;
    EXPECT_EQ(watched->fault, "");
    EXPECT_EQ(watched->frame, kxapp::MakeFrame(""));
    EXPECT_EQ(watched->answer, "");
}

TEST(Watched, ThatIsNoneIsRefused) {
    const std::pair<std::string, std::string> received{"received", "253402300799999"};
    const std::pair<std::string, std::string> id{"request_id", "4294967295"};
    EXPECT_EQ(WatchedFault({received, id, {"frame", ""}, {"answer", ""}}), "");
    EXPECT_EQ(WatchedFault({id, {"frame", ""}, {"answer", ""}}), "no received");
    EXPECT_EQ(WatchedFault({{"received", "253402300800000"}}), "an impossible received");
    EXPECT_EQ(WatchedFault({received, {"frame", ""}, {"answer", ""}}), "no request_id");
    EXPECT_EQ(WatchedFault({received, {"request_id", "4294967296"}}), "an impossible request_id");
    EXPECT_EQ(WatchedFault({received, id, {"answer", ""}}), "no frame");
    EXPECT_EQ(WatchedFault({received, id, {"frame", ""}}), "no answer");
}
