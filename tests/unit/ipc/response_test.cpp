#include "ipc/response.h"

#include <cerrno>
#include <limits>
#include <string>

#include "answer_frames.h"
#include "common/state.h"
#include "ipc_fixture.h"

using kxtest::Accepted;
using kxtest::Frame;
using kxtest::LoggedLines;
using kxtest::LoggedLinesUpTo;
using kxtest::LogLine;
using kxtest::Refused;
using testing::ElementsAre;

namespace {

const LogLine kStep{4, "kxepinfo", "step into ipc responed function\n"};

class Response : public kxtest::IpcTest {
  protected:
    static void Receive(std::string frame) {
        IpcOnResponse(0, 0, frame.data(), kxtest::Size(frame), nullptr);
    }
    static void TimeOut() { IpcOnResponse(ETIMEDOUT, 0, nullptr, 0, nullptr); }
};

}  // namespace

TEST_F(Response, AcceptedIsOnline) {
    g_preOnlineState = 0;
    Attempt_Times = 17;
    Receive(Frame(Accepted()));
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_EQ(Attempt_Times, 0U);
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(kStep,
                    LogLine{4, "kxepinfo", "The time difference between MGR and Agent is [0]"},
                    LogLine{4, "kxepinfo", "send msg <type: 6> to mgr success\n"}));
}

TEST_F(Response, AnyStatusButZeroIsAccepted) {
    Attempt_Times = 2;
    auto message = Accepted();
    message.set_status(0xFFFFFFFF);
    Receive(Frame(message));
    EXPECT_EQ(Attempt_Times, 0U);
}

TEST_F(Response, TellsTheTimeDifference) {
    auto message = Accepted();
    message.set_time_diff(std::numeric_limits<int64_t>::min());
    Receive(Frame(message));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(kStep,
                            LogLine{4, "kxepinfo",
                                    "The time difference between MGR and Agent is "
                                    "[-9223372036854775808]"},
                            LogLine{4, "kxepinfo", "send msg <type: 6> to mgr success\n"}));
}

TEST_F(Response, RefusedIsAFailureThoughItCouldBeRead) {
    Receive(Frame(Refused()));
    EXPECT_EQ(Attempt_Times, 1U);
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(
            kStep, LogLine{4, "kxepinfo", "The time difference between MGR and Agent is [0]"},
            LogLine{2, "kxepinfo", "send msg <type: 14> to mgr failed with error: not today\n"}));
}

TEST_F(Response, ADuplicateInARefusalLeavesNoFlag) {
    auto message = Refused();
    message.set_duplicate(1);
    kxtest::WriteFile("config/x", "");
    Receive(Frame(message));
    EXPECT_FALSE(exists(kxtest::InstallationRoot() / "config/clone_flag"));
    EXPECT_FALSE(exists(kxtest::InstallationRoot() / "config/recalculate_agentid"));
}

TEST_F(Response, AnErrorOfTheBusIsAFailure) {
    TimeOut();
    EXPECT_EQ(Attempt_Times, 1U);
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(
            kStep, LogLine{2, "kxepinfo", "send msg to mgr failed with error msg: text of 110\n"}));
}

TEST_F(Response, AnErrorCountsEvenWithAGoodAnswer) {
    std::string frame = Frame(Accepted());
    IpcOnResponse(ECONNRESET, 0, frame.data(), kxtest::Size(frame), nullptr);
    EXPECT_EQ(Attempt_Times, 1U);
}

TEST_F(Response, WithoutDataIsAFailure) {
    IpcOnResponse(0, 0, nullptr, 100, nullptr);
    EXPECT_EQ(Attempt_Times, 1U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(kStep, LogLine{2, "kxepinfo",
                                           "send msg to mgr failed with error msg: text of 0\n"}));
}

TEST_F(Response, ThatCannotBeReadIsAFailure) {
    Receive("short");
    EXPECT_EQ(Attempt_Times, 1U);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(kStep, LogLine{2, "kxepinfo", "msg check failed, lenth is 5"},
                            LogLine{2, "kxepinfo", "parse kxepinfo response msg from mgr fail\n"}));
}

TEST_F(Response, TypeAndContextDoNotMatter) {
    Attempt_Times = 1;
    std::string frame = Frame(Accepted());
    int context = 0;
    IpcOnResponse(0, 4711, frame.data(), kxtest::Size(frame), &context);
    EXPECT_EQ(Attempt_Times, 0U);
}

TEST_F(Response, AcceptedKeepsTheConnectAddress) {
    g_strCurConnectIp = "10.0.0.1";
    Receive(Frame(Accepted()));
    EXPECT_EQ(g_strPreConnectIp, "10.0.0.1");
    EXPECT_EQ(g_strCurConnectIp, "10.0.0.1");
}

TEST_F(Response, UnreadableKeepsTheConnectAddressToo) {
    g_strCurConnectIp = "10.0.0.1";
    Receive("short");
    EXPECT_EQ(g_strPreConnectIp, "10.0.0.1");
}

TEST_F(Response, WithoutDataDoesNotKeepTheConnectAddress) {
    g_strCurConnectIp = "10.0.0.1";
    TimeOut();
    IpcOnResponse(0, 0, nullptr, 0, nullptr);
    EXPECT_EQ(g_strPreConnectIp, "");
}

TEST_F(Response, FourFailuresInARowAreStillOnline) {
    for (int i = 0; i < 4; ++i) {
        TimeOut();
    }
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_EQ(Attempt_Times, 4U);
}

TEST_F(Response, TheFifthFailureInARowIsOffline) {
    for (int i = 0; i < 5; ++i) {
        TimeOut();
    }
    EXPECT_EQ(g_preOnlineState, 0U);
    EXPECT_EQ(Attempt_Times, 5U);
}

TEST_F(Response, FailuresOfAllKindsAddUp) {
    TimeOut();
    Receive("short");
    Receive(Frame(Refused()));
    IpcOnResponse(0, 0, nullptr, 0, nullptr);
    EXPECT_EQ(g_preOnlineState, 1U);
    Receive(Frame("", 1));
    EXPECT_EQ(g_preOnlineState, 0U);
}

TEST_F(Response, FailuresGoOnBeingCountedOffline) {
    for (int i = 0; i < 7; ++i) {
        TimeOut();
    }
    EXPECT_EQ(g_preOnlineState, 0U);
    EXPECT_EQ(Attempt_Times, 7U);
}

TEST_F(Response, OneAcceptedUploadEndsOffline) {
    for (int i = 0; i < 5; ++i) {
        TimeOut();
    }
    Receive(Frame(Accepted()));
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_EQ(Attempt_Times, 0U);
}

TEST_F(Response, AFailureBelowTheLimitDoesNotBringAnOfflineAgentBack) {
    g_preOnlineState = 0;
    TimeOut();
    EXPECT_EQ(g_preOnlineState, 0U);
}

TEST_F(Response, IsTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    TimeOut();
    Receive("short");
    Receive(Frame(Refused()));
    EXPECT_EQ(Attempt_Times, 3U);
    Receive(Frame(Accepted()));
    EXPECT_EQ(Attempt_Times, 0U);
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
