#include <cerrno>

#include "ipc/inbound.h"
#include "ipc_fixture.h"

using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const LogLine kParameterError{2, "epinfoipc", "Register Ipc RecvCallback param error"};

class Registration : public kxtest::IpcTest {
  protected:
    void SetUp() override {
        IpcTest::SetUp();
        ASSERT_EQ(endpoint.IpcInit(), 0);
    }

    CEpInfoIpc endpoint;
};

}  // namespace

TEST_F(Registration, RoutesOneWayMessagesToTheCallbackWithItsContext) {
    int registrations = 0;
    Agent().nox_ipc_msg_recv = [&](nox_ipc_st* ipc, nox_ipc_msg_cb callback, void* ctx) {
        ++registrations;
        EXPECT_EQ(ipc, bus.Instance());
        EXPECT_EQ(callback, &IpcOnMsgRecv);
        EXPECT_EQ(ctx, &endpoint);
        return 0;
    };
    EXPECT_EQ(endpoint.RegisterIpcRecvCallback(IpcOnMsgRecv, &endpoint), 0);
    EXPECT_EQ(registrations, 1);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(Registration, OfMessagesNeedsACallback) {
    EXPECT_EQ(endpoint.RegisterIpcRecvCallback(nullptr, &endpoint), -1);
    EXPECT_THAT(LoggedLines(), ElementsAre(kParameterError));
}

TEST_F(Registration, OfMessagesNeedsAContext) {
    EXPECT_EQ(endpoint.RegisterIpcRecvCallback(IpcOnMsgRecv, nullptr), -1);
    EXPECT_THAT(LoggedLines(), ElementsAre(kParameterError));
}

TEST_F(Registration, OfMessagesReturnsAndLogsTheLibrarysCode) {
    Agent().nox_ipc_msg_recv = [](nox_ipc_st*, nox_ipc_msg_cb, void*) { return 22; };
    EXPECT_EQ(endpoint.RegisterIpcRecvCallback(IpcOnMsgRecv, &endpoint), 22);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "epinfoipc",
                                    "bind IpcOnMsgRecv to m_pAgtCfgAddr failed with code:"
                                    "               22 and errmsg: text of 22"}));
}

TEST_F(Registration, RoutesRequestsToTheCallbackWithItsContext) {
    int registrations = 0;
    Agent().nox_ipc_on_request = [&](nox_ipc_st* ipc, nox_ipc_request_cb callback, void* ctx) {
        ++registrations;
        EXPECT_EQ(ipc, bus.Instance());
        EXPECT_EQ(callback, &IpcOnReqRecv);
        EXPECT_EQ(ctx, &endpoint);
        return 0;
    };
    EXPECT_EQ(endpoint.RegisterIpcRecvReqCallback(IpcOnReqRecv, &endpoint), 0);
    EXPECT_EQ(registrations, 1);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(Registration, OfRequestsNeedsACallback) {
    EXPECT_EQ(endpoint.RegisterIpcRecvReqCallback(nullptr, &endpoint), -1);
    EXPECT_THAT(LoggedLines(), ElementsAre(kParameterError));
}

TEST_F(Registration, OfRequestsNeedsAContext) {
    EXPECT_EQ(endpoint.RegisterIpcRecvReqCallback(IpcOnReqRecv, nullptr), -1);
    EXPECT_THAT(LoggedLines(), ElementsAre(kParameterError));
}

// The library's code is deliberately not shown, neither in the log nor by the result.
TEST_F(Registration, OfRequestsSaysMinusOneWhateverTheLibrarysCode) {
    Agent().nox_ipc_on_request = [](nox_ipc_st*, nox_ipc_request_cb, void*) { return EBUSY; };
    EXPECT_EQ(endpoint.RegisterIpcRecvReqCallback(IpcOnReqRecv, &endpoint), -1);
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(LogLine{2, "epinfoipc",
                            "on_request failed with code: \t\t\t\t -1 and errmsg: text of -1"}));
}

TEST_F(Registration, FailsTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    Agent().nox_ipc_msg_recv = [](nox_ipc_st*, nox_ipc_msg_cb, void*) { return 22; };
    Agent().nox_ipc_on_request = [](nox_ipc_st*, nox_ipc_request_cb, void*) { return 22; };
    EXPECT_EQ(endpoint.RegisterIpcRecvCallback(IpcOnMsgRecv, nullptr), -1);
    EXPECT_EQ(endpoint.RegisterIpcRecvCallback(IpcOnMsgRecv, &endpoint), 22);
    EXPECT_EQ(endpoint.RegisterIpcRecvReqCallback(IpcOnReqRecv, &endpoint), -1);
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
