#include "kxectl/watch.h"

#include <gmock/gmock.h>

#include <csignal>
#include <deque>
#include <vector>

#include "bus_ends.h"
#include "common/frame.h"
#include "complaint_line.h"
#include "installation.h"

using kxapp::Delivery;
using kxapp::Reply;
using kxapp::Request;
using kxapp::WatchAnswer;
using kxapp::WatchState;
using kxectl::WatchEnd;
using testing::ElementsAre;

namespace {

struct Watched {
    WatchEnd end;
    std::string output;
    std::string errors;
};

// An upload of agent `id`, as the manager tells of it.
std::string Packed(char id) {
    const std::string frame = kxapp::MakeFrame(std::string("\x08\x02\x10") + id);
    std::string fault;
    const auto upload = kxapp::ReadUpload({"agt_ei", 7, 0, frame}, {1700000000, 0}, fault);
    EXPECT_TRUE(upload.has_value()) << fault;
    bf_kxepinfo::epinfo_msg_respone answer;
    answer.set_status(1);
    return kxapp::PackWatched(*upload, "", answer);
}

Reply Answer(const WatchAnswer& answer) {
    return {Delivery::kNow, kxapp::kWatchType, kxapp::PackWatchAnswer(answer)};
}

Reply Uploads(std::uint64_t first, std::vector<std::string> uploads) {
    return Answer({WatchState::kWatching, "", first, std::move(uploads)});
}

class WatchTest : public kxtest::InstallationTest {
  protected:
    static Watched Run(const kxectl::WatchOptions& options) {
        ::testing::internal::CaptureStdout();
        ::testing::internal::CaptureStderr();
        Watched watched{kxectl::Watch(options).run(), "", ""};
        watched.output = ::testing::internal::GetCapturedStdout();
        watched.errors = ::testing::internal::GetCapturedStderr();
        return watched;
    }
    // What is watched until as many uploads were shown.
    static Watched RunFor(std::uint64_t count) {
        kxectl::WatchOptions options;
        options.count = count;
        options.timeout_s = 60;
        return Run(options);
    }

    // In the place of the manager: gives these answers, one a question, then none; keeps the
    // questions, as "begin" or the number that was confirmed, and the agent.
    std::deque<Reply> answers;
    std::vector<std::string> questions;
    kxapp::Service service{
        "mgr_ei", [this](const Request& request) {
            EXPECT_EQ(request.type, kxapp::kWatchType);
            std::string fault;
            const auto question = kxapp::ReadWatchQuestion(request.data, fault);
            EXPECT_TRUE(question.has_value()) << fault;
            questions.push_back((question->after ? std::to_string(*question->after) : "begin") +
                                " " + question->agent);
            Reply reply{Delivery::kNever, 0, {}};
            if (!answers.empty()) {
                reply = answers.front();
                answers.pop_front();
            }
            return reply;
        }};
};

}  // namespace

TEST_F(WatchTest, ShowsWhatComesAndConfirmsIt) {
    ASSERT_TRUE(service.open());
    answers = {Uploads(1, {}), Uploads(1, {Packed(1), Packed(2)}), Uploads(3, {Packed(3)})};
    const Watched watched = RunFor(3);
    EXPECT_EQ(watched.end, WatchEnd::kDone);
    EXPECT_EQ(watched.errors, "");
    EXPECT_THAT(questions, ElementsAre("begin agt_ei", "0 agt_ei", "2 agt_ei"));
    EXPECT_THAT(watched.output, testing::MatchesRegex(".*  agent 1 .*\n  accepted\n.*  agent 2 "
                                                      ".*\n  accepted\n.*  agent 3 .*\n"));
}

TEST_F(WatchTest, EndsAtTheWantedNumberInTheMiddleOfAnAnswer) {
    ASSERT_TRUE(service.open());
    answers = {Uploads(1, {}), Uploads(1, {Packed(1), Packed(2)})};
    const Watched watched = RunFor(1);
    EXPECT_EQ(watched.end, WatchEnd::kDone);
    EXPECT_THAT(watched.output, testing::HasSubstr("  agent 1 "));
    EXPECT_THAT(watched.output, testing::Not(testing::HasSubstr("  agent 2 ")));
}

TEST_F(WatchTest, AsksForAllAgentsAndShowsJsonWhenTold) {
    ASSERT_TRUE(service.open());
    answers = {Uploads(1, {}), Uploads(1, {Packed(1)})};
    kxectl::WatchOptions options;
    options.all = true;
    options.json = true;
    options.count = 1;
    const Watched watched = Run(options);
    EXPECT_THAT(questions, ElementsAre("begin ", "0 "));
    EXPECT_THAT(watched.output, testing::StartsWith("{\"received\": \"2023-11-14T22:13:20.000Z\""));
}

TEST_F(WatchTest, AsksAgainAfterAnAnswerWithoutUploads) {
    ASSERT_TRUE(service.open());
    answers = {Uploads(1, {}), Uploads(1, {}), Uploads(1, {Packed(1)})};
    EXPECT_EQ(RunFor(1).end, WatchEnd::kDone);
    EXPECT_THAT(questions, ElementsAre("begin agt_ei", "0 agt_ei", "0 agt_ei"));
}

TEST_F(WatchTest, TellsHowManyAreMissing) {
    ASSERT_TRUE(service.open());
    answers = {Uploads(1, {}), Uploads(1, {Packed(1)}), Uploads(9, {Packed(9)})};
    EXPECT_EQ(RunFor(2).errors,
              Line("uploads missing here: 7, which came faster than they were read"));
}

TEST_F(WatchTest, BeginsAnewWhenItWasForgotten) {
    ASSERT_TRUE(service.open());
    answers = {Uploads(1, {}), Uploads(1, {Packed(1)}), Answer({WatchState::kUnknown, "", 0, {}}),
               Uploads(1, {}), Uploads(1, {Packed(2)})};
    const Watched watched = RunFor(2);
    EXPECT_EQ(watched.end, WatchEnd::kDone);
    EXPECT_EQ(watched.errors, Line("uploads missing here: the manager had forgotten this watch"));
    EXPECT_THAT(questions,
                ElementsAre("begin agt_ei", "0 agt_ei", "1 agt_ei", "begin agt_ei", "0 agt_ei"));
}

TEST_F(WatchTest, EndsWhereThereIsNoManager) {
    const Watched watched = RunFor(0);
    EXPECT_EQ(watched.end, WatchEnd::kNoManager);
    EXPECT_EQ(watched.errors, Line("no manager is there: Connection refused"));
}

TEST_F(WatchTest, EndsWhereTheManagerDoesNotKnowTheQuestion) {
    ASSERT_TRUE(service.open());
    kxectl::WatchOptions options;
    options.timeout_s = 1;
    const Watched watched = Run(options);
    EXPECT_EQ(watched.end, WatchEnd::kNoManager);
    EXPECT_EQ(watched.errors,
              Line("the manager does not know how to be watched: Connection timed out"));
}

TEST_F(WatchTest, EndsWhenItIsRefused) {
    ASSERT_TRUE(service.open());
    answers = {Answer({WatchState::kRefused, "8 watch\nalready", 0, {}})};
    const Watched watched = RunFor(0);
    EXPECT_EQ(watched.end, WatchEnd::kNoManager);
    EXPECT_EQ(watched.errors, Line("the manager refuses: 8 watch\\x0Aalready"));
}

TEST_F(WatchTest, EndsAtAnAnswerThatCannotBeRead) {
    ASSERT_TRUE(service.open());
    const std::pair<Reply, std::string> cases[] = {
        {{Delivery::kNow, kxapp::kWatchType, "x"}, "no message"},
        {{Delivery::kNow, 0, "x"}, "another type than the question"},
        {Answer({WatchState::kUnknown, "", 0, {}}), "it knows no begin"},
        {Uploads(1, {"x"}), "no received"},
    };
    for (const auto& [reply, fault] : cases) {
        answers = {reply};
        const Watched watched = RunFor(0);
        EXPECT_EQ(watched.end, WatchEnd::kNoManager);
        EXPECT_EQ(watched.output, "");
        EXPECT_EQ(watched.errors, Line("the manager gave an unreadable answer: " + fault));
    }
}

TEST_F(WatchTest, EndsWellAtASignal) {
    ASSERT_TRUE(service.open());
    answers = {Uploads(1, {})};
    const auto timer = kxapp::MakeLoopHandle<uv_timer_t>(uv_timer_init);
    timer->data = &questions;
    // Once it waits for uploads.
    uv_timer_start(
        timer.get(),
        [](uv_timer_t* ticking) {
            if (static_cast<std::vector<std::string>*>(ticking->data)->size() == 2) {
                EXPECT_EQ(raise(SIGINT), 0);
            }
        },
        1, 1);
    const Watched watched = RunFor(0);
    EXPECT_EQ(watched.end, WatchEnd::kDone);
    EXPECT_EQ(watched.errors, "");
}
