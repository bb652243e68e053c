#include "kxemgr/watchers.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <map>
#include <new>
#include <set>

#include "common/watch.h"

using kxapp::WatchAnswer;
using kxapp::WatchState;
using kxemgr::Watchers;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class WatchersTest : public ::testing::Test {
  protected:
    // A question, and what it is answered at once, if it is.
    std::optional<WatchAnswer> Ask(const std::string& name, const std::string& data) {
        const kxapp::Reply reply = watchers.ask({name, ++last_id, kxapp::kWatchType, data});
        if (reply.delivery == kxapp::Delivery::kNever) {
            return std::nullopt;
        }
        EXPECT_EQ(reply.delivery, kxapp::Delivery::kNow);
        EXPECT_EQ(reply.type, kxapp::kWatchType);
        return Read(reply.data);
    }
    std::optional<WatchAnswer> Begin(const std::string& name, const std::string& agent = "") {
        return Ask(name, kxapp::PackWatchQuestion({{}, agent}));
    }
    std::optional<WatchAnswer> Next(const std::string& name, std::uint64_t after) {
        return Ask(name, kxapp::PackWatchQuestion({after, ""}));
    }

    // Lets somebody in, whose next question is then open.
    void Watch(const std::string& name, const std::string& agent = "") {
        EXPECT_EQ(Begin(name, agent), std::nullopt);
        EXPECT_THAT(Flush(), testing::Contains(testing::Key(name)));
        EXPECT_EQ(Next(name, 0), std::nullopt);
    }

    void Tell(const std::string& from = "agt_ei") {
        kxapp::Upload upload;
        upload.from = from;
        watchers.tell(upload, "", {});
    }

    // Who is answered, with what.
    std::map<std::string, WatchAnswer> Flush() {
        std::map<std::string, WatchAnswer> answers;
        watchers.flush([&](const std::string& to, unsigned id, const std::string& data) {
            EXPECT_LE(id, last_id);
            last_answered = id;
            answers[to] = Read(data);
            return gone.contains(to) ? ENOENT : 0;
        });
        return answers;
    }

    static WatchAnswer Read(const std::string& data) {
        std::string fault;
        const auto answer = kxapp::ReadWatchAnswer(data, 0, fault);
        EXPECT_TRUE(answer.has_value()) << fault;
        return answer.value_or(WatchAnswer{});
    }

    unsigned last_id = 0;
    unsigned last_answered = 0;
    std::uint64_t now = 1000;
    std::set<std::string> gone;
    Watchers watchers{[this](const std::string& name) { return !gone.contains(name); },
                      [this] { return now; }};
};

}  // namespace

TEST_F(WatchersTest, LetsInWhoBegins) {
    EXPECT_EQ(Begin("w"), std::nullopt);
    const auto answers = Flush();
    ASSERT_THAT(answers, SizeIs(1));
    EXPECT_EQ(answers.at("w").state, WatchState::kWatching);
    EXPECT_THAT(answers.at("w").uploads, IsEmpty());
    EXPECT_EQ(watchers.count(), 1U);
}

TEST_F(WatchersTest, TellsWhatComesWhileAQuestionIsOpen) {
    Watch("w");
    EXPECT_THAT(Flush(), IsEmpty());
    Tell();
    Tell();
    const auto answers = Flush();
    EXPECT_EQ(last_answered, last_id);
    EXPECT_EQ(answers.at("w").first, 1U);
    EXPECT_THAT(answers.at("w").uploads, SizeIs(2));
    EXPECT_THAT(Flush(), IsEmpty());
}

TEST_F(WatchersTest, KeepsWhatComesBetweenTwoQuestions) {
    Watch("w");
    Tell();
    Flush();
    Tell();
    EXPECT_THAT(Flush(), IsEmpty());
    Next("w", 1);
    const auto answers = Flush();
    EXPECT_EQ(answers.at("w").first, 2U);
    EXPECT_THAT(answers.at("w").uploads, SizeIs(1));
}

TEST_F(WatchersTest, RepeatsWhatWasNotConfirmed) {
    Watch("w");
    Tell();
    Flush();
    Next("w", 0);
    EXPECT_EQ(Flush().at("w").first, 1U);
}

TEST_F(WatchersTest, TellsOfTheAgentThatIsAskedForAlone) {
    Watch("one", "agt_ei");
    Watch("all");
    Tell("other");
    const auto answers = Flush();
    EXPECT_THAT(answers, SizeIs(1));
    EXPECT_THAT(answers.at("all").uploads, SizeIs(1));
    Tell("agt_ei");
    EXPECT_THAT(Flush().at("one").uploads, SizeIs(1));
}

TEST_F(WatchersTest, TellsNothingFromBeforeTheBegin) {
    Tell();
    Begin("w");
    Tell();
    EXPECT_THAT(Flush().at("w").uploads, IsEmpty());
    Next("w", 0);
    EXPECT_THAT(Flush(), IsEmpty());
}

TEST_F(WatchersTest, AnswersAnIdleQuestionAfterTheHold) {
    Watch("w");
    now += 4999;
    EXPECT_THAT(Flush(), IsEmpty());
    now += 1;
    const auto answers = Flush();
    EXPECT_EQ(answers.at("w").state, WatchState::kWatching);
    EXPECT_THAT(answers.at("w").uploads, IsEmpty());
}

TEST_F(WatchersTest, AnswersOnlyTheLastOfSeveralQuestions) {
    Watch("w");
    Next("w", 0);
    Tell();
    Flush();
    EXPECT_EQ(last_answered, last_id);
    EXPECT_THAT(Flush(), IsEmpty());
}

TEST_F(WatchersTest, KnowsNothingOfWhoHasNotBegun) {
    const auto answer = Next("w", 7);
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->state, WatchState::kUnknown);
    EXPECT_EQ(watchers.count(), 0U);
}

TEST_F(WatchersTest, RefusesWhatIsNoQuestion) {
    const auto answer = Ask("w", "bad");
    ASSERT_TRUE(answer.has_value());
    EXPECT_EQ(answer->state, WatchState::kRefused);
    EXPECT_EQ(answer->why, "the question has no message");
}

TEST_F(WatchersTest, StartsAnewForWhoBeginsAgain) {
    Watch("w");
    Tell();
    Begin("w");
    EXPECT_THAT(Flush().at("w").uploads, IsEmpty());
    EXPECT_EQ(watchers.count(), 1U);
}

TEST_F(WatchersTest, ForgetsWhoCannotBeAnswered) {
    Watch("w");
    gone.insert("w");
    Tell();
    Flush();
    EXPECT_EQ(watchers.count(), 0U);
}

TEST_F(WatchersTest, ForgetsWhoHasAskedNothingForLong) {
    Watch("w");
    Tell();
    Flush();
    now += Watchers::kForgottenAfterMs - 1;
    Flush();
    EXPECT_EQ(watchers.count(), 1U);
    now += 1;
    Flush();
    EXPECT_EQ(watchers.count(), 0U);
    EXPECT_EQ(Next("w", 1)->state, WatchState::kUnknown);
}

TEST_F(WatchersTest, ForgetsWhomThereIsNoMemoryToAnswer) {
    Watch("w");
    Tell();
    watchers.flush(
        [](const std::string&, unsigned, const std::string&) -> int { throw std::bad_alloc(); });
    EXPECT_EQ(watchers.count(), 0U);
}

TEST_F(WatchersTest, RefusesOneMoreThanThereIsRoomFor) {
    for (std::size_t i = 0; i < Watchers::kMost; ++i) {
        Watch("w" + std::to_string(i));
    }
    Begin("late");
    const auto answers = Flush();
    EXPECT_THAT(answers, SizeIs(1));
    EXPECT_EQ(answers.at("late").state, WatchState::kRefused);
    EXPECT_EQ(answers.at("late").why, "8 watch already");
    EXPECT_EQ(watchers.count(), Watchers::kMost);
    Tell();
    EXPECT_THAT(Flush(), SizeIs(Watchers::kMost));
}

TEST_F(WatchersTest, LetsInAsManyAsThereIsRoomForOfThoseWhoBeginAtOnce) {
    for (std::size_t i = 0; i < Watchers::kMost + 2; ++i) {
        Begin("w" + std::to_string(i));
    }
    const auto answers = Flush();
    EXPECT_EQ(answers.at("w7").state, WatchState::kWatching);
    EXPECT_EQ(answers.at("w8").state, WatchState::kRefused);
    EXPECT_EQ(answers.at("w9").state, WatchState::kRefused);
    EXPECT_EQ(watchers.count(), Watchers::kMost);
}

TEST_F(WatchersTest, GivesThePlaceOfWhoHasLeftTheBusToANewOne) {
    for (std::size_t i = 0; i < Watchers::kMost; ++i) {
        Watch("w" + std::to_string(i));
    }
    Tell();
    Flush();  // none has a question open now
    gone.insert("w3");
    Begin("late");
    EXPECT_EQ(Flush().at("late").state, WatchState::kWatching);
    EXPECT_EQ(Next("w3", 1)->state, WatchState::kUnknown);
    EXPECT_EQ(Next("w4", 1), std::nullopt);
}
