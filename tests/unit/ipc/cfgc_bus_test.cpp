// A configuration centre that is down, late or wrong, over the real bus.
#include <cerrno>
#include <string>

#include "ipc/cfgrequest.h"
#include "real_bus.h"

using kxtest::LoggedLinesUpTo;
using kxtest::LogLine;
using kxtest::PackedAddresses;
using kxtest::Ponderer;
using kxtest::RunUntil;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const LogLine kWritten{3, "kxepinfo", "write multi ip success"};

LogLine Failed(int code) {
    return {2, "kxepinfo",
            std::string("send msg to local cfg failed with error msg: ") + nox_ipc_strerror(code)};
}

std::string OneAddress(const std::string& address) {
    return PackedAddresses("1", std::vector<std::string>{address});
}

std::string MirrorOf(const std::string& address) {
    return "[multi_ip]\ncounts=1\nip0=" + address + "\n";
}

class ConfigurationCentre : public kxtest::RealBus {
  protected:
    void SetUp() override {
        RealBus::SetUp();
        kxtest::WriteFile("config/net_config.ini", MirrorOf("old"));
    }

    static void AwaitLines(std::size_t count) {
        RunUntil([count] { return LoggedLinesUpTo(3).size() >= count; });
    }

    // Notifies the module until as many requests of it have come.
    void NotifyUntil(const Ponderer& centre, std::size_t requests) {
        while (centre.Count() < requests) {
            const std::size_t before = centre.Count();
            Notify();
            RunUntil([&] { return centre.Count() > before; });
        }
    }
};

}  // namespace

TEST_F(ConfigurationCentre, ThatIsDownLeavesTheMirrorAsItIs) {
    Notify();
    AwaitLines(1);
    EXPECT_THAT(LoggedLinesUpTo(3), ElementsAre(Failed(ECONNREFUSED)));
    EXPECT_EQ(NetConfig(), MirrorOf("old"));
}

TEST_F(ConfigurationCentre, ThatComesUpIsAskedAtTheNextNotification) {
    Notify();
    AwaitLines(1);
    const kxtest::Answerer centre("agt_cfgc", 1004, OneAddress("new"));
    Notify();
    AwaitLines(2);
    EXPECT_THAT(LoggedLinesUpTo(3), ElementsAre(Failed(ECONNREFUSED), kWritten));
    EXPECT_EQ(centre.count, 1);
    EXPECT_EQ(NetConfig(), MirrorOf("new"));
}

TEST_F(ConfigurationCentre, ThatGoesAwayBeforeItAnswersLeavesTheMirrorAsItIs) {
    {
        const Ponderer centre("agt_cfgc");
        NotifyUntil(centre, 2);
    }
    AwaitLines(2);
    EXPECT_THAT(LoggedLinesUpTo(3), ElementsAre(Failed(ECONNRESET), Failed(ECONNRESET)));
    EXPECT_EQ(NetConfig(), MirrorOf("old"));
}

TEST_F(ConfigurationCentre, IsAskedAgainByANotificationBeforeItsFirstAnswer) {
    Ponderer centre("agt_cfgc");
    NotifyUntil(centre, 2);
    centre.Answer(0, 1004, OneAddress("first"));
    AwaitLines(1);
    EXPECT_EQ(NetConfig(), MirrorOf("first"));
    centre.Answer(1, 1004, OneAddress("second"));
    AwaitLines(2);
    EXPECT_EQ(NetConfig(), MirrorOf("second"));
    EXPECT_THAT(LoggedLinesUpTo(3), ElementsAre(kWritten, kWritten));
}

// Answers are taken as they come: nothing ties them to the order of the requests.
TEST_F(ConfigurationCentre, IsMirroredByTheAnswerThatComesLast) {
    Ponderer centre("agt_cfgc");
    NotifyUntil(centre, 2);
    centre.Answer(1, 1004, OneAddress("second"));
    centre.Answer(0, 1004, OneAddress("first"));
    AwaitLines(2);
    EXPECT_EQ(NetConfig(), MirrorOf("first"));
}

TEST_F(ConfigurationCentre, OneBadAnswerDoesNotSpoilTheNextThatIsOpen) {
    Ponderer centre("agt_cfgc");
    NotifyUntil(centre, 2);
    centre.Answer(0, 1004, "garbage");
    centre.Answer(1, 1004, OneAddress("second"));
    AwaitLines(4);
    EXPECT_THAT(LoggedLinesUpTo(3),
                ElementsAre(LogLine{2, "cfgparser", "xmsg_unpack pXmsgData failed"},
                            LogLine{2, "cfgparser", "get ip from cfgc failed"},
                            LogLine{2, "kxepinfo", "parse global cfgc failed Type = 2"}, kWritten));
    EXPECT_EQ(NetConfig(), MirrorOf("second"));
}

TEST_F(ConfigurationCentre, AnAnswerOfAnotherTypeIsDroppedAndTheNextIsMirrored) {
    Ponderer centre("agt_cfgc");
    NotifyUntil(centre, 2);
    centre.Answer(0, 1005, OneAddress("other"));
    centre.Answer(1, 1004, OneAddress("second"));
    AwaitLines(1);
    EXPECT_THAT(LoggedLinesUpTo(3), ElementsAre(kWritten));
    EXPECT_EQ(NetConfig(), MirrorOf("second"));
}

TEST_F(ConfigurationCentre, AnEmptyAnswerIsAFailureWithoutAReason) {
    Ponderer centre("agt_cfgc");
    ReqCfgBySubModuleEx(&endpoint, 2);
    RunUntil([&] { return centre.Count() == 1; });
    centre.Answer(0, 1004, "");
    AwaitLines(1);
    EXPECT_THAT(LoggedLinesUpTo(3), ElementsAre(Failed(0)));
    EXPECT_EQ(NetConfig(), MirrorOf("old"));
}

TEST_F(ConfigurationCentre, IsNotAskedByNotificationsOfOtherSections) {
    const Ponderer centre("agt_cfgc");
    const kxtest::Member other(nox_ipc_create("proxy", 0));
    const kxtest::Address module(nox_addr_create("agt_ei", 0, 0));
    const std::string change = kxtest::Packed("change", {{"proxy", "1"}});
    ASSERT_EQ(
        nox_ipc_send_msg(other.get(), module.get(), 1002, change.data(), kxtest::Size(change)), 0);
    // Behind it on the same connection comes a question, whose answer says that it was read.
    kxtest::Outcome outcome;
    ASSERT_EQ(nox_ipc_make_request(other.get(), module.get(), 1008, "", 0, kxtest::Outcome::Receive,
                                   &outcome, 60),
              0);
    RunUntil([&] { return outcome.happened; });
    EXPECT_EQ(centre.Count(), 0U);
    EXPECT_THAT(LoggedLinesUpTo(3), IsEmpty());
}
