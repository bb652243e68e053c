#include <string>

#include "common/state.h"
#include "ipc/inbound.h"
#include "ipc_fixture.h"

using namespace std::string_literals;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::Packed;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Heartbeat : public kxtest::IpcTest {
  protected:
    static void Beat(const std::string& status) { Receive(Packed("beat", {{"status", status}})); }
    static void Receive(const std::string& bytes) {
        OnStatusHeartbeat(bytes.data(), kxtest::Size(bytes));
    }

    // One more miss and the agent is offline; a status other than 0 shows as 0 misses and online.
    // No sequence of heartbeats leads here.
    static void AlmostOffline() {
        s_heartbeatMisses = 3;
        g_preOnlineState = 7;
    }
    static void ExpectCountedAsZero() {
        EXPECT_EQ(g_preOnlineState, 0U);
        EXPECT_EQ(s_heartbeatMisses, 4U);
    }
    static void ExpectCountedAsAlive() {
        EXPECT_EQ(g_preOnlineState, 1U);
        EXPECT_EQ(s_heartbeatMisses, 0U);
    }
};

}  // namespace

TEST_F(Heartbeat, WithStatusOneSetsOnline) {
    g_preOnlineState = 0;
    s_heartbeatMisses = 2;
    Beat("1");
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_EQ(s_heartbeatMisses, 0U);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

// Deliberate: a status of 0 is counted, and the count goes back to 0 at once.
TEST_F(Heartbeat, WithStatusZeroSetsOnlineToo) {
    g_preOnlineState = 0;
    Beat("0");
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_EQ(s_heartbeatMisses, 0U);
}

TEST_F(Heartbeat, NoRunOfStatusZeroEverReachesOffline) {
    for (int i = 0; i < 20; ++i) {
        Beat("0");
        EXPECT_EQ(g_preOnlineState, 1U) << i;
        EXPECT_EQ(s_heartbeatMisses, 0U) << i;
    }
}

TEST_F(Heartbeat, TwoMissesAreForgiven) {
    s_heartbeatMisses = 2;
    g_preOnlineState = 0;
    Beat("0");
    ExpectCountedAsAlive();
}

TEST_F(Heartbeat, MoreThanThreeMissesWouldBeOfflineAndStayCounted) {
    AlmostOffline();
    Beat("0");
    ExpectCountedAsZero();
    Beat("0");
    EXPECT_EQ(g_preOnlineState, 0U);
    EXPECT_EQ(s_heartbeatMisses, 5U);
    Beat("1");
    ExpectCountedAsAlive();
}

TEST_F(Heartbeat, TextThatIsNoNumberIsZero) {
    AlmostOffline();
    Beat("online");
    ExpectCountedAsZero();
}

TEST_F(Heartbeat, AnEmptyStatusIsZero) {
    AlmostOffline();
    Beat("");
    ExpectCountedAsZero();
}

TEST_F(Heartbeat, TheNumberEndsAtTheFirstOtherCharacter) {
    AlmostOffline();
    Beat("0x10");
    ExpectCountedAsZero();
}

TEST_F(Heartbeat, TheTextEndsAtAZeroByte) {
    AlmostOffline();
    Beat("0\0001"s);
    ExpectCountedAsZero();
}

TEST_F(Heartbeat, BlanksInFrontAreSkipped) {
    AlmostOffline();
    Beat("  12");
    ExpectCountedAsAlive();
}

TEST_F(Heartbeat, OnlyTheLowThirtyTwoBitsCount) {
    AlmostOffline();
    Beat("4294967296");
    ExpectCountedAsZero();
    AlmostOffline();
    Beat("4294967297");
    ExpectCountedAsAlive();
}

TEST_F(Heartbeat, ANegativeNumberIsNotZero) {
    AlmostOffline();
    Beat("-1");
    ExpectCountedAsAlive();
}

TEST_F(Heartbeat, ANumberBeyondAllBoundsIsNotZero) {
    AlmostOffline();
    Beat("99999999999999999999999999");
    ExpectCountedAsAlive();
}

TEST_F(Heartbeat, WithoutStatusChangesNothing) {
    AlmostOffline();
    Receive(Packed("beat", {{"state", "1"}}));
    EXPECT_EQ(g_preOnlineState, 7U);
    EXPECT_EQ(s_heartbeatMisses, 3U);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(Heartbeat, ThatDoesNotUnpackChangesNothing) {
    AlmostOffline();
    Receive("garbage");
    EXPECT_EQ(g_preOnlineState, 7U);
    EXPECT_EQ(s_heartbeatMisses, 3U);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "kxepinfo", "xmsg_unpack failed"}));
}

TEST_F(Heartbeat, WithoutDataChangesNothing) {
    kxtest::Agent().xmsg_unpack = [](const char* data, uint32_t /*len*/) -> xmsg* {
        EXPECT_NE(data, nullptr);  // not every library checks it
        return nullptr;
    };
    OnStatusHeartbeat(nullptr, 0);
    OnStatusHeartbeat(nullptr, 8);
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "kxepinfo", "xmsg_unpack failed"},
                                           LogLine{2, "kxepinfo", "xmsg_unpack failed"}));
}

TEST_F(Heartbeat, ReleasesItsMessageOnEveryWay) {
    const kxtest::LiveMessages messages;
    Beat("1");
    Beat("0");
    s_heartbeatMisses = 3;
    Beat("0");
    Receive(Packed("beat", {}));
    EXPECT_EQ(messages.Count(), 0);
}
