#include "ipc_fixture.h"

using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Endpoint = kxtest::IpcTest;

const LogLine kUnitialising{3, "epinfoipc", "IPC is unitializing...\n"};

}  // namespace

TEST_F(Endpoint, ConsistsOfItsThreeHandles) {
    EXPECT_EQ(sizeof(CEpInfoIpc), 3 * sizeof(void*));
}

TEST_F(Endpoint, JoinsTheBusThenMakesTheAddressesOfItsPeers) {
    CEpInfoIpc endpoint;
    EXPECT_EQ(endpoint.IpcInit(), 0);
    EXPECT_THAT(bus.calls, ElementsAre("nox_ipc_create agt_ei 0", "nox_addr_create mgr_ei 2 2",
                                       "nox_addr_create agt_cfgc 0 0"));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(Endpoint, DoesNotStartWhenItCannotJoinTheBus) {
    Agent().nox_ipc_create = [](const char*, int) { return nullptr; };
    CEpInfoIpc endpoint;
    EXPECT_EQ(endpoint.IpcInit(), -1);
    EXPECT_THAT(bus.calls, IsEmpty());
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "epinfoipc", "create ipc failed with error code: -1\n"}));
}

TEST_F(Endpoint, DoesNotStartWithoutTheManagersAddress) {
    Agent().nox_addr_create = [](const char*, int, int) { return nullptr; };
    CEpInfoIpc endpoint;
    EXPECT_EQ(endpoint.IpcInit(), -1);
    EXPECT_THAT(bus.calls, ElementsAre("nox_ipc_create agt_ei 0"));
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(LogLine{2, "epinfoipc", "create ipc address failed with error code: -1\n"}));
}

TEST_F(Endpoint, DoesNotStartWithoutTheConfigurationCentresAddress) {
    Agent().nox_addr_create = [this](const char* name, int, int) {
        return std::string(name) == "mgr_ei" ? bus.Manager() : nullptr;
    };
    CEpInfoIpc endpoint;
    EXPECT_EQ(endpoint.IpcInit(), -1);
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(LogLine{2, "epinfoipc", "nox_addr_create failed with error code: -1\n"}));
}

TEST_F(Endpoint, AFailedStartLeavesWhatItMadeForTheEnd) {
    Agent().nox_addr_create = [](const char*, int, int) { return nullptr; };
    CEpInfoIpc endpoint;
    (void)endpoint.IpcInit();
    bus.calls.clear();
    endpoint.IpcUnit();
    EXPECT_THAT(bus.calls, ElementsAre("nox_ipc_destroy"));
}

// The address of the configuration centre is deliberately never released.
TEST_F(Endpoint, EndsByLeavingTheBusAndReleasingOnlyTheManagersAddress) {
    CEpInfoIpc endpoint;
    (void)endpoint.IpcInit();
    bus.calls.clear();
    endpoint.IpcUnit();
    EXPECT_THAT(bus.calls, ElementsAre("nox_ipc_destroy", "nox_addr_destroy mgr_ei"));
    EXPECT_THAT(LoggedLines(), ElementsAre(kUnitialising));
}

TEST_F(Endpoint, EndingTwiceReleasesOnceAndIsLoggedTwice) {
    CEpInfoIpc endpoint;
    (void)endpoint.IpcInit();
    bus.calls.clear();
    endpoint.IpcUnit();
    endpoint.IpcUnit();
    EXPECT_THAT(bus.calls, ElementsAre("nox_ipc_destroy", "nox_addr_destroy mgr_ei"));
    EXPECT_THAT(LoggedLines(), ElementsAre(kUnitialising, kUnitialising));
}

TEST_F(Endpoint, IsEndedByItsDestructor) {
    {
        CEpInfoIpc endpoint;
        (void)endpoint.IpcInit();
        bus.calls.clear();
    }
    EXPECT_THAT(bus.calls, ElementsAre("nox_ipc_destroy", "nox_addr_destroy mgr_ei"));
    EXPECT_THAT(LoggedLines(), ElementsAre(kUnitialising));
}

TEST_F(Endpoint, ThatWasNeverStartedReleasesNothing) {
    { const CEpInfoIpc endpoint; }
    EXPECT_THAT(bus.calls, IsEmpty());
    EXPECT_THAT(LoggedLines(), ElementsAre(kUnitialising));
}

TEST_F(Endpoint, CanBeStartedAgainAfterItsEnd) {
    CEpInfoIpc endpoint;
    (void)endpoint.IpcInit();
    endpoint.IpcUnit();
    bus.calls.clear();
    EXPECT_EQ(endpoint.IpcInit(), 0);
    EXPECT_THAT(bus.calls, ElementsAre("nox_ipc_create agt_ei 0", "nox_addr_create mgr_ei 2 2",
                                       "nox_addr_create agt_cfgc 0 0"));
}
