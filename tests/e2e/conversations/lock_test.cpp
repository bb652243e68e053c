// The lock of net_config.ini in the hands of another process.
#include <csignal>

#include "conversation.h"

namespace kxtest {
namespace {

using testing::ElementsAre;

class HeldLock : public ConversationTest {
  protected:
    // The lock is held when this returns, until the program is killed.
    HeldLock() : m_holder(Neighbour(), {"hold"}) {
        EXPECT_TRUE(m_holder.wait_for_output("held\n"));
    }

    void KillHolder() {
        m_holder.signal(SIGKILL);
        EXPECT_EQ(m_holder.wait(), 128 + SIGKILL);
    }

  private:
    Program m_holder;
};

TEST_F(HeldLock, IsGivenUpAndNothingIsWrittenUntilTheNextNotification) {
    installation().write("config/net_config.ini", MirrorOf("old"));
    StartCentre();
    StartHost();
    EXPECT_THAT(ConfigurationLog(2), ElementsAre("C cfgparser acquire glock fail, err: 110",
                                                 "E kxepinfo parse global cfgc failed Type = 2"));
    EXPECT_EQ(MirrorFile(), MirrorOf("old"));

    KillHolder();
    EXPECT_EQ(Ctl({"notify"}).status, 0);
    ASSERT_TRUE(Logs(kWritten));
    EXPECT_EQ(MirrorFile(), MirrorOf("127.0.0.1"));
}

TEST_F(HeldLock, DoesNotKeepAQuestionFromItsAnswer) {
    StartCentre();
    StartHost();
    ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    EXPECT_EQ(RunToEnd(Peer(), {"ask", "1", "1"}).output, "1 online, 0 offline, 0 failed\n");
    EXPECT_TRUE(Logs("acquire glock fail, err: 110"));
}

TEST_F(HeldLock, DoesNotKeepTheHostFromACleanEnd) {
    StartCentre();
    Program& host = StartHost();
    ASSERT_TRUE(Logs("upload gap is 2"));
    EXPECT_EQ(host.stop(), 0) << host.errors();
    EXPECT_TRUE(Logs("kxepinfo module work thread exit"));
    EXPECT_EQ(installation().read("config/net_config.ini"), "");
}

TEST_F(HeldLock, OfAHolderThatIsKilledIsFree) {
    StartCentre();
    StartHost();
    ASSERT_TRUE(Logs("upload gap is 2"));
    KillHolder();
    EXPECT_THAT(ConfigurationLog(1), ElementsAre("I kxepinfo write multi ip success"));
}

}  // namespace
}  // namespace kxtest
