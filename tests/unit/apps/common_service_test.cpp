#include "common/service.h"

#include <cerrno>
#include <memory>
#include <stdexcept>
#include <vector>

#include "bus_ends.h"
#include "complaint_line.h"
#include "installation.h"

using kxapp::Delivery;
using kxapp::Reply;
using kxapp::Request;
using kxapp::Service;
using kxtest::Asked;
using kxtest::RunUntil;

namespace {

constexpr unsigned kAnHourMs = 3'600'000;

// Answers with what the request says: "now", "late", "never" or "close".
Reply Obey(const Request& request) {
    const std::string data(request.data);
    const Delivery delivery = data == "late"    ? Delivery::kLate
                              : data == "never" ? Delivery::kNever
                              : data == "close" ? Delivery::kClose
                                                : Delivery::kNow;
    return {delivery, request.type + 1, "answer to " + data};
}

class ServiceTest : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        asker = std::make_unique<kxtest::Asker>();
    }
    std::unique_ptr<kxtest::Asker> asker;
};

}  // namespace

TEST_F(ServiceTest, HandlesARequestAndSendsTheAnswer) {
    Service service("peer", [](const Request& request) {
        EXPECT_EQ(request.from, "asker");
        EXPECT_EQ(request.type, 7U);
        EXPECT_EQ(request.data, "now");
        return Obey(request);
    });
    ASSERT_TRUE(service.open());
    Asked outcome;
    asker->ask("peer", 7, "now", outcome);
    ASSERT_TRUE(RunUntil([&] { return outcome.calls > 0; }));
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.type, 8U);
    EXPECT_EQ(outcome.data, "answer to now");
}

TEST_F(ServiceTest, AnswersLaterWhatItsHandlerLeft) {
    unsigned id = 0;
    Service service("peer", [&](const Request& request) {
        id = request.id;
        return Reply{Delivery::kNever, 0, {}};
    });
    ASSERT_TRUE(service.open());
    Asked outcome;
    asker->ask("peer", 7, "later", outcome);
    ASSERT_TRUE(RunUntil([&] { return id != 0; }));
    EXPECT_EQ(service.answer("asker", id, 9, "now"), 0);
    EXPECT_EQ(service.answer("asker", id, 9, "again"), ENOENT);
    ASSERT_TRUE(RunUntil([&] { return outcome.calls > 0; }));
    EXPECT_EQ(outcome.type, 9U);
    EXPECT_EQ(outcome.data, "now");
}

TEST_F(ServiceTest, HandlesARequestWithoutData) {
    Service service("peer", Obey);
    ASSERT_TRUE(service.open());
    Asked outcome;
    asker->ask("peer", 7, "", outcome);
    ASSERT_TRUE(RunUntil([&] { return outcome.calls > 0; }));
    EXPECT_EQ(outcome.data, "answer to ");
}

TEST_F(ServiceTest, LeavesARequestUnanswered) {
    Service service("peer", Obey);
    ASSERT_TRUE(service.open());
    Asked never;
    Asked now;
    asker->ask("peer", 7, "never", never);
    asker->ask("peer", 7, "now", now);
    ASSERT_TRUE(RunUntil([&] { return now.calls > 0; }));
    EXPECT_EQ(never.calls, 0);
}

TEST_F(ServiceTest, SendsLateAnswersInTheirOrder) {
    Service service("peer", Obey, 50);
    ASSERT_TRUE(service.open());
    Asked first;
    Asked second;
    Asked now;
    asker->ask("peer", 1, "late", first);
    asker->ask("peer", 2, "late", second);
    asker->ask("peer", 3, "now", now);
    ASSERT_TRUE(RunUntil([&] { return now.calls > 0; }));
    EXPECT_EQ(first.calls, 0);
    EXPECT_TRUE(service.has_late_replies());
    ASSERT_TRUE(RunUntil([&] { return second.calls > 0; }));
    EXPECT_EQ(first.type, 2U);
    EXPECT_EQ(second.type, 3U);
    EXPECT_FALSE(service.has_late_replies());
}

TEST_F(ServiceTest, KeepsABoundedNumberOfLateAnswers) {
    Service service("peer", Obey, kAnHourMs);
    ASSERT_TRUE(service.open());
    std::vector<Asked> late(Service::kMostLateReplies + 1);
    Asked now;
    ::testing::internal::CaptureStderr();
    for (Asked& outcome : late) {
        asker->ask("peer", 1, "late", outcome);
    }
    asker->ask("peer", 3, "now", now);
    ASSERT_TRUE(RunUntil([&] { return now.calls > 0; }));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Line("256 answers wait already: one more is not answered"));
    asker.reset();
}

TEST_F(ServiceTest, EndsTheConversationAndIsThereAgain) {
    Service service("peer", Obey);
    ASSERT_TRUE(service.open());
    Asked closed;
    asker->ask("peer", 1, "close", closed);
    ASSERT_TRUE(
        RunUntil([&] { return closed.calls > 0; }, [&] { EXPECT_TRUE(service.after_pass()); }));
    EXPECT_EQ(closed.status, ECONNRESET);
    Asked now;
    asker->ask("peer", 1, "now", now);
    ASSERT_TRUE(
        RunUntil([&] { return now.calls > 0; }, [&] { EXPECT_TRUE(service.after_pass()); }));
    EXPECT_EQ(now.status, 0);
}

TEST_F(ServiceTest, ForgetsLateAnswersWithTheConversation) {
    Service service("peer", Obey, kAnHourMs);
    ASSERT_TRUE(service.open());
    Asked late;
    Asked closed;
    asker->ask("peer", 1, "late", late);
    asker->ask("peer", 1, "close", closed);
    ASSERT_TRUE(RunUntil([&] { return closed.calls > 0; }, [&] { (void)service.after_pass(); }));
    EXPECT_EQ(late.status, ECONNRESET);
    EXPECT_FALSE(service.has_late_replies());
}

TEST_F(ServiceTest, CannotTakeANameThatIsTaken) {
    Service first("peer", Obey);
    ASSERT_TRUE(first.open());
    Service second("peer", Obey);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(second.open());
    const std::string errors = ::testing::internal::GetCapturedStderr();
    const std::string line = Line("cannot join the bus as peer; the bus library has told why");
    ASSERT_GE(errors.size(), line.size());
    EXPECT_EQ(errors.substr(errors.size() - line.size()), line);
}

TEST_F(ServiceTest, SurvivesAHandlerThatThrows) {
    Service service("peer", [](const Request& request) -> Reply {
        if (request.data == "throw") {
            throw std::runtime_error("no memory");
        }
        return Obey(request);
    });
    ASSERT_TRUE(service.open());
    Asked thrown;
    Asked now;
    ::testing::internal::CaptureStderr();
    asker->ask("peer", 1, "throw", thrown);
    asker->ask("peer", 1, "now", now);
    ASSERT_TRUE(RunUntil([&] { return now.calls > 0; }));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), Line("a request is lost: no memory"));
    EXPECT_EQ(thrown.calls, 0);
}

TEST_F(ServiceTest, TellsOfAOneWayMessage) {
    Service service("peer", Obey);
    ASSERT_TRUE(service.open());
    Asked now;
    ::testing::internal::CaptureStderr();
    asker->tell("peer", 1002, "x");
    asker->ask("peer", 1, "now", now);
    ASSERT_TRUE(RunUntil([&] { return now.calls > 0; }));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Line("one-way message of type 1002 from asker is not understood"));
}
