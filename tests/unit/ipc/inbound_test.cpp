#include "ipc/inbound.h"

#include <string>

#include "common/state.h"
#include "ipc/cfgrequest.h"
#include "ipc_fixture.h"

using kxtest::LoggedLines;
using kxtest::LoggedLinesUpTo;
using kxtest::LogLine;
using kxtest::Packed;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const LogLine kInvalid{2, "kxepinfo", "IpcOnMsgRecvProc get invalid data"};

class Inbound : public kxtest::IpcTest {
  protected:
    void SetUp() override {
        IpcTest::SetUp();
        ASSERT_EQ(endpoint.IpcInit(), 0);
    }

    void Message(unsigned type, const std::string& bytes) {
        IpcOnMsgRecv(bus.Instance(), bus.Peer(), type, bytes.data(), kxtest::Size(bytes),
                     &endpoint);
    }
    void Request(unsigned type, const std::string& bytes) {
        IpcOnReqRecv(bus.Instance(), bus.Peer(), 33, type, bytes.data(), kxtest::Size(bytes),
                     &endpoint);
    }

    CEpInfoIpc endpoint;
    const std::string change = Packed("change", {{"global", ""}});
};

using InboundMessage = Inbound;
using InboundRequest = Inbound;

}  // namespace

TEST_F(InboundMessage, OfAChangeOfTheGlobalSectionAsksForItAgain) {
    Message(1002, change);
    ASSERT_EQ(bus.requests.size(), 1U);
    const kxtest::SentRequest& sent = bus.requests.front();
    EXPECT_EQ(sent.to, bus.ConfigurationCentre());
    EXPECT_EQ(sent.type, 1004U);
    EXPECT_EQ(sent.data, Packed("global", {{"module", "global"}}));
    EXPECT_EQ(sent.callback, &IpcOnCfgcResponse);
    EXPECT_THAT(LoggedLines(), IsEmpty());
    EXPECT_THAT(bus.answers, IsEmpty());
}

TEST_F(InboundMessage, OfAChangeOfAnotherSectionAsksForNothing) {
    Message(1002, Packed("change", {{"proxy", "1"}}));
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(InboundMessage, OfAChangeThatDoesNotUnpackAsksForNothing) {
    Message(1002, "garbage");
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "cfgparser", "xmsg_unpack failed"}));
}

TEST_F(InboundMessage, OfAnotherTypeIsDropped) {
    Message(1003, change);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo", "unsupport msg recv cmd = 1003"}));
}

TEST_F(InboundMessage, TypeIsLoggedAsASignedNumber) {
    Message(0xFFFFFFFF, change);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "kxepinfo", "unsupport msg recv cmd = -1"}));
}

TEST_F(InboundMessage, NeedsTheBusItCameFrom) {
    IpcOnMsgRecv(nullptr, bus.Peer(), 1002, change.data(), kxtest::Size(change), &endpoint);
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid));
    EXPECT_THAT(bus.requests, IsEmpty());
}

TEST_F(InboundMessage, NeedsASender) {
    IpcOnMsgRecv(bus.Instance(), nullptr, 1002, change.data(), kxtest::Size(change), &endpoint);
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid));
    EXPECT_THAT(bus.requests, IsEmpty());
}

TEST_F(InboundMessage, NeedsData) {
    IpcOnMsgRecv(bus.Instance(), bus.Peer(), 1002, nullptr, 5, &endpoint);
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid));
}

TEST_F(InboundMessage, NeedsALength) {
    IpcOnMsgRecv(bus.Instance(), bus.Peer(), 1002, change.data(), 0, &endpoint);
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid));
    EXPECT_THAT(bus.requests, IsEmpty());
}

TEST_F(InboundMessage, NeedsAnEndpoint) {
    IpcOnMsgRecv(bus.Instance(), bus.Peer(), 1002, change.data(), kxtest::Size(change), nullptr);
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid));
    EXPECT_THAT(bus.requests, IsEmpty());
}

TEST_F(InboundRequest, ForTheOnlineStateIsAnswered) {
    Request(1008, "anything");
    EXPECT_THAT(bus.answers,
                ElementsAre(kxtest::SentAnswer{bus.Instance(), bus.Peer(), 33, 1008,
                                               Packed("agt_ei", {{"online_state", "1"}})}));
    EXPECT_THAT(LoggedLinesUpTo(3), IsEmpty());
}

TEST_F(InboundRequest, ForTheOnlineStateNeedsNoData) {
    g_preOnlineState = 0;
    IpcOnReqRecv(bus.Instance(), bus.Peer(), 33, 1008, nullptr, 0, &endpoint);
    EXPECT_THAT(bus.answers,
                ElementsAre(kxtest::SentAnswer{bus.Instance(), bus.Peer(), 33, 1008,
                                               Packed("agt_ei", {{"online_state", "0"}})}));
}

// The sender of heartbeats gets no answer, deliberately.
TEST_F(InboundRequest, OfAHeartbeatIsHeededAndNotAnswered) {
    g_preOnlineState = 0;
    Request(101, Packed("beat", {{"status", "1"}}));
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_THAT(bus.answers, IsEmpty());
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(InboundRequest, OfAHeartbeatWithoutDataIsDropped) {
    IpcOnReqRecv(bus.Instance(), bus.Peer(), 33, 101, nullptr, 0, &endpoint);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "kxepinfo", "xmsg_unpack failed"}));
}

TEST_F(InboundRequest, OfAnotherTypeIsDropped) {
    Request(1002, change);
    EXPECT_THAT(bus.answers, IsEmpty());
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "kxepinfo", "unknown cmd :1002"}));
}

TEST_F(InboundRequest, TypeIsLoggedAsAnUnsignedNumber) {
    Request(0xFFFFFFFF, "");
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "kxepinfo", "unknown cmd :4294967295"}));
}

// The text names the other callback, as it always did.
TEST_F(InboundRequest, NeedsTheBusItCameFrom) {
    IpcOnReqRecv(nullptr, bus.Peer(), 33, 1008, "", 0, &endpoint);
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid));
    EXPECT_THAT(bus.answers, IsEmpty());
}

TEST_F(InboundRequest, NeedsASender) {
    IpcOnReqRecv(bus.Instance(), nullptr, 33, 1008, "", 0, &endpoint);
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid));
    EXPECT_THAT(bus.answers, IsEmpty());
}

TEST_F(InboundRequest, NeedsAnEndpoint) {
    IpcOnReqRecv(bus.Instance(), bus.Peer(), 33, 1008, "", 0, nullptr);
    EXPECT_THAT(LoggedLines(), ElementsAre(kInvalid));
    EXPECT_THAT(bus.answers, IsEmpty());
}
