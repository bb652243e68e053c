// The user interface's question whether the agent is online, and the status heartbeats, in numbers.
#include <memory>

#include "conversation.h"

namespace kxtest {
namespace {

constexpr char kAnswered[] = "Send Msg to Ui 1";

class Question : public ConversationTest {
  protected:
    // On the bus, and past its first cycle.
    void StartServingHost() {
        StartHost();
        ASSERT_TRUE(Logs("upload gap is "));
    }
};

// A minute between cycles, so that no run of failures ends the agent's online state.
class QuestionWithoutManager : public Question {
  protected:
    QuestionWithoutManager() { installation().set_interval(60); }
};

TEST_F(QuestionWithoutManager, IsAnsweredOneAfterTheOther) {
    StartServingHost();
    EXPECT_EQ(RunToEnd(Peer(), {"ask", "20", "1"}).output, "20 online, 0 offline, 0 failed\n");
}

TEST_F(QuestionWithoutManager, IsAnsweredAThousandTimesInARow) {
    StartServingHost();
    EXPECT_EQ(RunToEnd(Peer(), {"ask", "1000", "100"}).output,
              "1000 online, 0 offline, 0 failed\n");
    EXPECT_TRUE(WaitUntil([&] { return CountInLog(kAnswered) == 1000; }));
}

TEST_F(QuestionWithoutManager, IsAnsweredForSeveralProcessesAtOnce) {
    StartServingHost();
    std::vector<std::unique_ptr<Program>> peers;
    for (int i = 0; i < 8; ++i) {
        peers.push_back(
            std::make_unique<Program>(Peer(), std::vector<std::string>{"ask", "250", "25"}));
    }
    for (const auto& peer : peers) {
        EXPECT_EQ(peer->wait(), 0) << peer->errors();
        EXPECT_EQ(peer->output(), "250 online, 0 offline, 0 failed\n");
    }
}

// The endpoint is on the bus before the first cycle, which a question then waits for.
TEST_F(QuestionWithoutManager, OfTheFirstMomentIsAnsweredAfterTheFirstCycle) {
    StartHost();
    ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    EXPECT_EQ(RunToEnd(Peer(), {"ask", "5", "5"}).output, "5 online, 0 offline, 0 failed\n");
}

// Heartbeats stay open for ever; of all of a connection the bus keeps the newest.
TEST_F(QuestionWithoutManager, IsAnsweredBehindThousandsOfHeartbeats) {
    StartServingHost();
    EXPECT_EQ(RunToEnd(Peer(), {"heartbeat", "5000", "0"}).output,
              "1 online, 0 offline, 0 failed\n");
    EXPECT_EQ(Ctl({"online"}).output, "online\n");
}

// The worker answers no one while it samples; a question waits for the end of the cycle.
TEST_F(Question, DuringACycleIsAnsweredBehindIt) {
    StartManager();
    StartServingHost();
    ASSERT_TRUE(Logs("stepped into timer callback function now"));
    EXPECT_EQ(Ctl({"online"}).output, "online\n");
    const std::string log = installation().log();
    const std::size_t cycle = log.find("stepped into timer callback function now");
    const std::size_t sampled = log.find(" mem_total: ", cycle);
    EXPECT_NE(sampled, std::string::npos);
    EXPECT_LT(sampled, log.find(kAnswered)) << log;
}

// A status of 0 counts like any other: no run of them makes the agent offline, and the first brings
// it online. Tried until no refusal of the manager has come in between.
TEST_F(Question, IsAnsweredWithOnlineBehindHeartbeatsOfStatusZero) {
    StartManager({"--fault", "refuse"});
    StartHost();
    ASSERT_TRUE(WaitUntil([&] { return CountInLog("to mgr failed with error: refused") >= 5; }));
    EXPECT_EQ(Ctl({"online"}).output, "offline\n");
    EXPECT_TRUE(WaitUntil([&] {
        return RunToEnd(Peer(), {"heartbeat", "20", "0"}).output ==
               "1 online, 0 offline, 0 failed\n";
    }));
}

}  // namespace
}  // namespace kxtest
