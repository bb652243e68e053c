#include <string>

#include "ipc/response.h"
#include "ipc_fixture.h"
#include "short_memory.h"

using namespace std::string_literals;
using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Send : public kxtest::IpcTest {
  protected:
    void SetUp() override {
        IpcTest::SetUp();
        ASSERT_EQ(endpoint.IpcInit(), 0);
    }

    CEpInfoIpc endpoint;
    int context = 0;
};

using SendToManager = Send;
using SendToConfigurationCentre = Send;

const LogLine kNoMemoryForFrame{2, "epinfoipc",
                                "create module header failed with error code: 12\n"};
const LogLine kManagerNotInitialised{2, "epinfoipc",
                                     "IPC has not initialized, please initilize before using\n"};
const LogLine kCentreNotInitialised{2, "epinfoipc",
                                    "IPC has not initialized, please initilize before using"};

}  // namespace

TEST_F(SendToManager, PutsTheFrameHeaderInFront) {
    EXPECT_EQ(endpoint.IpcSendMsg(7, "\1\0\xFFz", 4, IpcOnResponse, &context), 0);
    ASSERT_EQ(bus.requests.size(), 1U);
    const kxtest::SentRequest& sent = bus.requests.front();
    EXPECT_EQ(sent.to, bus.Manager());
    EXPECT_EQ(sent.type, 7U);
    EXPECT_EQ(sent.data, "3200\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\4\1\0\xFFz"s);
    EXPECT_EQ(sent.callback, &IpcOnResponse);
    EXPECT_EQ(sent.user, &context);
    EXPECT_EQ(sent.timeout_s, 5);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SendToManager, AnEmptyPayloadIsABareHeader) {
    EXPECT_EQ(endpoint.IpcSendMsg(0, "", 0, IpcOnResponse, nullptr), 0);
    ASSERT_EQ(bus.requests.size(), 1U);
    EXPECT_EQ(bus.requests.front().data, "3200\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0"s);
}

TEST_F(SendToManager, ALongPayloadArrivesWhole) {
    std::string payload(0x012345, 'x');
    payload.back() = 'y';
    EXPECT_EQ(endpoint.IpcSendMsg(0, payload.data(), kxtest::Size(payload), IpcOnResponse, nullptr),
              0);
    ASSERT_EQ(bus.requests.size(), 1U);
    EXPECT_EQ(bus.requests.front().data, "3200\0\0\0\0\0\1\0\0\0\0\0\0\0\x01\x23\x45"s + payload);
}

TEST_F(SendToManager, IgnoresWhatTheLibraryMakesOfIt) {
    Agent().nox_ipc_make_request = [](nox_ipc_st*, const nox_addr_st*, unsigned, const char*,
                                      unsigned, nox_ipc_response_cb, void*, int) { return 105; };
    EXPECT_EQ(endpoint.IpcSendMsg(0, "x", 1, IpcOnResponse, nullptr), 0);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SendToManager, NeedsData) {
    EXPECT_EQ(endpoint.IpcSendMsg(0, nullptr, 4, IpcOnResponse, nullptr), 12);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(LogLine{2, "epinfoipc", "send msg to mgr failed with error code: 12\n"}));
}

TEST_F(SendToManager, MissingDataComesBeforeAMissingStart) {
    CEpInfoIpc fresh;
    EXPECT_EQ(fresh.IpcSendMsg(0, nullptr, 0, IpcOnResponse, nullptr), 12);
}

TEST_F(SendToManager, NeedsAStartedEndpoint) {
    CEpInfoIpc fresh;
    EXPECT_EQ(fresh.IpcSendMsg(0, "x", 1, IpcOnResponse, nullptr), 22);
    EXPECT_THAT(LoggedLines(), ElementsAre(kManagerNotInitialised));
}

TEST_F(SendToManager, NeedsAnEndpointWhoseStartSucceeded) {
    Agent().nox_addr_create = [](const char*, int, int) { return nullptr; };
    CEpInfoIpc failed;
    ASSERT_EQ(failed.IpcInit(), -1);
    kxtest::ClearLog();
    EXPECT_EQ(failed.IpcSendMsg(0, "x", 1, IpcOnResponse, nullptr), 22);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kManagerNotInitialised));
}

TEST_F(SendToManager, NeedsAnEndpointThatHasNotEnded) {
    endpoint.IpcUnit();
    kxtest::ClearLog();
    EXPECT_EQ(endpoint.IpcSendMsg(0, "x", 1, IpcOnResponse, nullptr), 22);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kManagerNotInitialised));
}

TEST_F(SendToManager, SendsNothingWithoutMemoryForTheFrame) {
    {
        const kxtest::ShortMemory short_memory;
        EXPECT_EQ(endpoint.IpcSendMsg(0, "x", 1, IpcOnResponse, nullptr), 12);
    }
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kNoMemoryForFrame));
}

TEST_F(SendToManager, RefusesAPayloadThatLeavesNoRoomForTheHeader) {
    EXPECT_EQ(endpoint.IpcSendMsg(0, "x", 0xFFFFFFFF, IpcOnResponse, nullptr), 12);
    EXPECT_EQ(endpoint.IpcSendMsg(0, "x", 0xFFFFFFEC, IpcOnResponse, nullptr), 12);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kNoMemoryForFrame, kNoMemoryForFrame));
}

TEST_F(SendToManager, FailsTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    CEpInfoIpc fresh;
    EXPECT_EQ(fresh.IpcSendMsg(0, nullptr, 1, IpcOnResponse, nullptr), 12);
    EXPECT_EQ(fresh.IpcSendMsg(0, "x", 1, IpcOnResponse, nullptr), 22);
    EXPECT_EQ(kxtest::LogCalls(), 0);
}

TEST_F(SendToConfigurationCentre, SendsTheBytesAsTheyAre) {
    EXPECT_EQ(endpoint.IpcSendMsgtoCfg(1004, "\1\0\xFFz", 4, IpcOnResponse, &context), 0);
    ASSERT_EQ(bus.requests.size(), 1U);
    const kxtest::SentRequest& sent = bus.requests.front();
    EXPECT_EQ(sent.to, bus.ConfigurationCentre());
    EXPECT_EQ(sent.type, 1004U);
    EXPECT_EQ(sent.data, "\1\0\xFFz"s);
    EXPECT_EQ(sent.callback, &IpcOnResponse);
    EXPECT_EQ(sent.user, &context);
    EXPECT_EQ(sent.timeout_s, 5);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SendToConfigurationCentre, IgnoresWhatTheLibraryMakesOfIt) {
    Agent().nox_ipc_make_request = [](nox_ipc_st*, const nox_addr_st*, unsigned, const char*,
                                      unsigned, nox_ipc_response_cb, void*, int) { return 105; };
    EXPECT_EQ(endpoint.IpcSendMsgtoCfg(0, "x", 1, IpcOnResponse, nullptr), 0);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SendToConfigurationCentre, NeedsData) {
    EXPECT_EQ(endpoint.IpcSendMsgtoCfg(0, nullptr, 4, IpcOnResponse, nullptr), -1);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "epinfoipc", "send msg to cfg failed"}));
}

TEST_F(SendToConfigurationCentre, NeedsAStartedEndpoint) {
    CEpInfoIpc fresh;
    EXPECT_EQ(fresh.IpcSendMsgtoCfg(0, "x", 1, IpcOnResponse, nullptr), -1);
    EXPECT_THAT(LoggedLines(), ElementsAre(kCentreNotInitialised));
}

// The start failed before the address was made: it must read as missing.
TEST_F(SendToConfigurationCentre, NeedsItsAddress) {
    Agent().nox_addr_create = [](const char*, int, int) { return nullptr; };
    CEpInfoIpc failed;
    ASSERT_EQ(failed.IpcInit(), -1);
    kxtest::ClearLog();
    EXPECT_EQ(failed.IpcSendMsgtoCfg(0, "x", 1, IpcOnResponse, nullptr), -1);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kCentreNotInitialised));
}

TEST_F(SendToConfigurationCentre, NeedsAnEndpointThatHasNotEnded) {
    endpoint.IpcUnit();
    kxtest::ClearLog();
    EXPECT_EQ(endpoint.IpcSendMsgtoCfg(0, "x", 1, IpcOnResponse, nullptr), -1);
    EXPECT_THAT(bus.requests, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kCentreNotInitialised));
}
