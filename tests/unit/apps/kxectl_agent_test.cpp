#include "kxectl/agent.h"

#include <cerrno>
#include <csignal>
#include <vector>

#include "bus_ends.h"
#include "common/keyvalue.h"
#include "installation.h"
#include "kxectl/online.h"

using kxapp::Delivery;
using kxapp::Reply;
using kxapp::Request;
using kxectl::Agent;
using kxectl::Outcome;

namespace {

constexpr int kLongS = 60;

class AgentTest : public kxtest::InstallationTest {
  protected:
    // In the place of the agent: answers what it is asked, keeps the types of what it got.
    kxapp::Service service{"agt_ei", [this](const Request& request) {
                               types.push_back(request.type);
                               return Reply{
                                   request.type == 1008 ? Delivery::kNow : Delivery::kNever,
                                   request.type, "state"};
                           }};
    std::vector<unsigned> types;
};

}  // namespace

TEST_F(AgentTest, AnswersTheQuestion) {
    ASSERT_TRUE(service.open());
    Agent agent(kLongS);
    ASSERT_TRUE(agent.join());
    const Outcome outcome = agent.ask_online();
    EXPECT_TRUE(outcome.arrived);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.type, 1008U);
    EXPECT_EQ(outcome.data, "state");
}

TEST_F(AgentTest, HasHadWhatWasSentBeforeTheQuestion) {
    ASSERT_TRUE(service.open());
    Agent agent(kLongS);
    ASSERT_TRUE(agent.join());
    ASSERT_TRUE(agent.send_request(101, "heartbeat"));
    EXPECT_EQ(agent.ask_online().status, 0);
    EXPECT_EQ(types, (std::vector<unsigned>{101, 1008}));
}

TEST_F(AgentTest, HasHadAOneWayMessageBeforeTheQuestion) {
    ASSERT_TRUE(service.open());
    Agent agent(kLongS);
    ASSERT_TRUE(agent.join());
    ::testing::internal::CaptureStderr();
    ASSERT_EQ(agent.send_message(1002, "change"), 0);
    EXPECT_EQ(agent.ask_online().status, 0);
    // A service says so of each one-way message.
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("one-way message of type 1002"),
              std::string::npos);
}

TEST_F(AgentTest, ThatIsNotThereRefuses) {
    Agent agent(kLongS);
    ASSERT_TRUE(agent.join());
    const Outcome outcome = agent.ask_online();
    EXPECT_TRUE(outcome.arrived);
    EXPECT_EQ(outcome.status, ECONNREFUSED);
    EXPECT_EQ(agent.send_message(1002, "change"), ECONNREFUSED);
}

TEST_F(AgentTest, ThatSaysNothingTimesOut) {
    const kxapp::Bus silent = kxapp::JoinBus("agt_ei");
    Agent agent(1);
    ASSERT_TRUE(agent.join());
    EXPECT_EQ(agent.ask_online().status, ETIMEDOUT);
}

TEST_F(AgentTest, IsNotWaitedForAfterASignal) {
    const kxapp::Bus silent = kxapp::JoinBus("agt_ei");
    Agent agent(kLongS);
    ASSERT_TRUE(agent.join());
    ASSERT_EQ(raise(SIGTERM), 0);
    EXPECT_FALSE(agent.ask_online().arrived);
}
