// The configuration centre's addresses, mirrored to net_config.ini.
#include <csignal>

#include "conversation.h"

namespace kxtest {
namespace {

using testing::ElementsAre;
using testing::UnorderedElementsAre;

constexpr char kRefused[] =
    "E kxepinfo send msg to local cfg failed with error msg: Connection refused";
constexpr char kTimedOut[] =
    "E kxepinfo send msg to local cfg failed with error msg: Connection timed out";
constexpr char kWrittenLine[] = "I kxepinfo write multi ip success";

class Mirror : public ConversationTest {
  protected:
    Mirror() { SetAddress("192.0.2.1"); }

    bool Becomes(const std::string& content) {
        return WaitUntil([&] { return MirrorFile() == content; });
    }
};

TEST_F(Mirror, IsWrittenAtTheStart) {
    installation().write("config/cfgc.ini", "[multi_ip]\nip0=192.0.2.1\nip1=2001:db8::2\n");
    StartCentre();
    StartHost();
    EXPECT_THAT(ConfigurationLog(1), ElementsAre(kWrittenLine));
    EXPECT_EQ(MirrorFile(), "[multi_ip]\ncounts=2\nip0=192.0.2.1\nip1=2001:db8::2\n");
}

TEST_F(Mirror, KeepsWhatOthersWroteToTheFile) {
    installation().write("config/net_config.ini",
                         "; kept by others\n[proxy]\nport=8080\n[multi_ip]\nip7=192.0.2.9\n");
    StartCentre();
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    EXPECT_EQ(MirrorFile(), "; kept by others\n[proxy]\nport=8080\n" + MirrorOf("192.0.2.1"));
}

TEST_F(Mirror, FollowsAChangeOfTheAddressFile) {
    StartCentre();
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    SetAddress("192.0.2.77");
    EXPECT_TRUE(Becomes(MirrorOf("192.0.2.77"))) << installation().log();
}

TEST_F(Mirror, LeavesOutAnAddressOf64Characters) {
    StartCentre({"--fault", "long-value"});
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    EXPECT_EQ(MirrorFile(), MirrorOf("192.0.2.1"));
}

TEST_F(Mirror, FollowsACentreThatStartsLateAtTheNextNotification) {
    StartHost();
    EXPECT_THAT(ConfigurationLog(1), ElementsAre(kRefused));
    StartCentre();
    EXPECT_EQ(Ctl({"notify"}).status, 0);
    EXPECT_THAT(ConfigurationLog(2), ElementsAre(kRefused, kWrittenLine));
    EXPECT_EQ(MirrorFile(), MirrorOf("192.0.2.1"));
}

TEST_F(Mirror, FollowsACentreThatStartsLateWhenItsAddressesChange) {
    StartHost();
    EXPECT_THAT(ConfigurationLog(1), ElementsAre(kRefused));
    StartCentre();
    SetAddress("192.0.2.77");
    EXPECT_TRUE(Becomes(MirrorOf("192.0.2.77"))) << installation().log();
}

TEST_F(Mirror, StaysAsItIsWhenTheCentreIsGone) {
    Program& centre = StartCentre();
    StartHost();
    ASSERT_TRUE(Logs(kWritten));
    centre.signal(SIGKILL);
    EXPECT_EQ(centre.wait(), 128 + SIGKILL);
    EXPECT_EQ(Ctl({"notify"}).status, 0);
    EXPECT_THAT(ConfigurationLog(2), ElementsAre(kWrittenLine, kRefused));
    EXPECT_EQ(MirrorFile(), MirrorOf("192.0.2.1"));
}

// The first request is as a rule still open when the second is sent and answered. Its own answer
// comes when it has been given up.
TEST_F(Mirror, FollowsANotificationWhileAnAnswerIsLate) {
    StartCentre({"--fault", "slow:1"});
    StartHost();
    ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    EXPECT_EQ(Ctl({"notify"}).status, 0);
    EXPECT_THAT(ConfigurationLog(2), UnorderedElementsAre(kWrittenLine, kTimedOut));
    EXPECT_TRUE(Logs("which is not open, is dropped"));
    EXPECT_EQ(MirrorFile(), MirrorOf("192.0.2.1"));
}

TEST_F(Mirror, TakesManyNotificationsInARow) {
    StartCentre();
    StartHost();
    ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    EXPECT_EQ(RunToEnd(Peer(), {"notify", "100"}).output, "1 online, 0 offline, 0 failed\n");
    EXPECT_THAT(ConfigurationLog(101), testing::Each(testing::StrEq(kWrittenLine)));
    EXPECT_EQ(CountInLog(kWritten), 101U);
}

}  // namespace
}  // namespace kxtest
