// The conversations over the real bus, with peers in the same process.
#include <cerrno>
#include <string>

#include "answer_frames.h"
#include "common/state.h"
#include "ipc/cfgrequest.h"
#include "ipc/response.h"
#include "real_bus.h"

using kxtest::Address;
using kxtest::Answerer;
using kxtest::LoggedLinesUpTo;
using kxtest::LogLine;
using kxtest::Member;
using kxtest::Outcome;
using kxtest::RealBus;
using kxtest::RunUntil;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(RealBus, AnUploadReachesTheManagerAndItsAnswerSetsOnline) {
    Answerer manager("mgr_ei", 0, kxtest::Frame(kxtest::Accepted()));
    Attempt_Times = 1;
    g_preOnlineState = 0;
    EXPECT_EQ(endpoint.IpcSendMsg(0, "upload", 6, IpcOnResponse, nullptr), 0);
    RunUntil([] { return Attempt_Times == 0; });
    EXPECT_EQ(manager.received, kxtest::Frame("upload"));
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_THAT(LoggedLinesUpTo(3), IsEmpty());
}

TEST_F(RealBus, AnUploadWithoutAManagerIsAFailure) {
    EXPECT_EQ(endpoint.IpcSendMsg(0, "upload", 6, IpcOnResponse, nullptr), 0);
    RunUntil([] { return Attempt_Times == 1; });
    EXPECT_EQ(g_preOnlineState, 1U);
    const std::string reason = nox_ipc_strerror(ECONNREFUSED);
    EXPECT_THAT(LoggedLinesUpTo(3),
                ElementsAre(LogLine{2, "kxepinfo",
                                    "send msg to mgr failed with error msg: " + reason + "\n"}));
}

TEST_F(RealBus, TheConfigurationCentresAnswerIsMirrored) {
    Answerer centre("agt_cfgc", 1004,
                    kxtest::PackedAddresses("2", std::vector<std::string>{"10.0.0.1", "::1"}));
    ReqCfgBySubModuleEx(&endpoint, 2);
    RunUntil([] { return !LoggedLinesUpTo(3).empty(); });
    EXPECT_THAT(LoggedLinesUpTo(3), ElementsAre(LogLine{3, "kxepinfo", "write multi ip success"}));
    EXPECT_EQ(centre.received, kxtest::Packed("global", {{"module", "global"}}));
    EXPECT_EQ(NetConfig(), "[multi_ip]\ncounts=2\nip0=10.0.0.1\nip1=::1\n");
}

TEST_F(RealBus, AChangeNotificationBringsTheNewAddresses) {
    Answerer centre("agt_cfgc", 1004,
                    kxtest::PackedAddresses("1", std::vector<std::string>{"10.0.0.1"}));
    Notify();
    RunUntil([] { return !LoggedLinesUpTo(3).empty(); });
    EXPECT_EQ(centre.count, 1);
    EXPECT_EQ(NetConfig(), "[multi_ip]\ncounts=1\nip0=10.0.0.1\n");
}

TEST_F(RealBus, TheUserInterfaceIsToldTheOnlineState) {
    const Member ui(nox_ipc_create("ui", 0));
    const Address module(nox_addr_create("agt_ei", 0, 0));
    Outcome outcome;
    ASSERT_EQ(
        nox_ipc_make_request(ui.get(), module.get(), 1008, "", 0, Outcome::Receive, &outcome, 60),
        0);
    RunUntil([&] { return outcome.happened; });
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.type, 1008U);
    EXPECT_EQ(outcome.data, kxtest::Packed("agt_ei", {{"online_state", "1"}}));
}

TEST_F(RealBus, AHeartbeatSetsOnline) {
    const Member source(nox_ipc_create("source", 0));
    const Address module(nox_addr_create("agt_ei", 0, 0));
    const std::string beat = kxtest::Packed("beat", {{"status", "1"}});
    g_preOnlineState = 0;
    Outcome outcome;
    ASSERT_EQ(nox_ipc_make_request(source.get(), module.get(), 101, beat.data(), kxtest::Size(beat),
                                   Outcome::Receive, &outcome, 60),
              0);
    RunUntil([] { return g_preOnlineState == 1; });
    EXPECT_FALSE(outcome.happened);
}

TEST_F(RealBus, AnEndedEndpointHearsNothingOfItsOpenRequest) {
    Answerer manager("mgr_ei", 0, kxtest::Frame(kxtest::Refused()));
    EXPECT_EQ(endpoint.IpcSendMsg(0, "upload", 6, IpcOnResponse, nullptr), 0);
    endpoint.IpcUnit();
    // Somebody else's whole exchange with the manager: time enough for an answer to the module.
    const Member other(nox_ipc_create("other", 0));
    const Address address(nox_addr_create("mgr_ei", 0, 0));
    Outcome outcome;
    ASSERT_EQ(
        nox_ipc_make_request(other.get(), address.get(), 0, "", 0, Outcome::Receive, &outcome, 60),
        0);
    RunUntil([&] { return outcome.happened; });
    EXPECT_EQ(Attempt_Times, 0U);
}
