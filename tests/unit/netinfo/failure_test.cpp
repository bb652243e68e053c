// What cannot be asked about an interface, and what remains.
#include <fcntl.h>

#include <cerrno>

#include "collectors/netinfo.h"
#include "netinfo_fixture.h"

using kxtest::Adapter;
using kxtest::Adapters;
using kxtest::List;
using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

LogLine Error(const std::string& text) {
    return {2, "netinfo", text};
}

class AdapterFailure : public kxtest::NetInfoTest {
  protected:
    void SetUp() override {
        NetInfoTest::SetUp();
        Network().interfaces["eth0"].hardware = {2, 0, 0, 0, 0, 1};
        Network().interfaces["eth1"].hardware = {2, 0, 0, 0, 0, 1};
        Network().entries = {Ipv4("eth0", "10.0.0.1"), Ipv4("eth1", "10.0.1.1"),
                             Ipv6("eth0", "fd00::1")};
    }

    Adapters Get() {
        Adapters adapters;
        EXPECT_EQ(GetNetInfo(adapters), 0);
        for (const int descriptor : Network().sockets) {
            EXPECT_EQ(fcntl(descriptor, F_GETFD), -1);
        }
        return adapters;
    }
};

}  // namespace

TEST_F(AdapterFailure, WithoutEntriesGivesItsErrnoAndAnEmptyList) {
    Network().getifaddrs_error = ENOMEM;
    Adapters adapters{Adapter("stale", {"192.0.2.1"})};
    EXPECT_EQ(GetNetInfo(adapters), ENOMEM);
    EXPECT_EQ(List(adapters), List(Adapters{}));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("getifaddrs fail with error:Cannot allocate memory")));
}

TEST_F(AdapterFailure, WithoutEntriesReleasesNothingAndLeavesTheManagersAddress) {
    Network().getifaddrs_error = ENOMEM;
    Adapters adapters;
    EXPECT_EQ(GetNetInfo(adapters), ENOMEM);
    EXPECT_THAT(Network().events, ElementsAre("getifaddrs"));
    EXPECT_EQ(g_strCurConnectIp, "before");
}

TEST_F(AdapterFailure, OfANameThatIsMissingSkipsTheEntry) {
    Network().entries.insert(Network().entries.begin(), Ipv4(nullptr, "10.9.9.9"));
    EXPECT_EQ(List(Get()),
              List({Adapter("eth0", {"10.0.0.1"}, {"fd00::1"}), Adapter("eth1", {"10.0.1.1"})}));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("getMac fail: input is NULL\n"), Error("error get mac\n")));
}

TEST_F(AdapterFailure, OfASocketSkipsTheEntry) {
    int sockets = 0;
    Network().on_event = [&](const std::string& event) {
        if (event.starts_with("socket")) {
            Network().socket_error = ++sockets == 1 ? EMFILE : 0;
        }
    };
    EXPECT_EQ(List(Get()), List({Adapter("eth1", {"10.0.1.1"}), Adapter("eth0", {}, {"fd00::1"})}));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("socket fail: Too many open files\n"), Error("error get mac\n")));
}

TEST_F(AdapterFailure, OfTheHardwareAddressSkipsTheEntry) {
    Network().interfaces["eth1"].hardware_error = EPERM;
    EXPECT_EQ(List(Get()), List({Adapter("eth0", {"10.0.0.1"}, {"fd00::1"})}));
    EXPECT_THAT(LoggedLines(), ElementsAre(Error("ioctl fail with error:Operation not permitted\n"),
                                           Error("error get mac\n")));
    EXPECT_THAT(Network().events, testing::Not(testing::Contains("flags eth1")));
}

TEST_F(AdapterFailure, OfTheFlagsSkipsTheEntry) {
    Network().interfaces["eth1"].flags_error = EPERM;
    EXPECT_EQ(List(Get()), List({Adapter("eth0", {"10.0.0.1"}, {"fd00::1"})}));
    EXPECT_THAT(LoggedLines(), ElementsAre(Error("ioctl fail with error:Operation not permitted\n"),
                                           Error("error get mac\n")));
}

TEST_F(AdapterFailure, OfAnotherFamilysEntryIsToldTheSame) {
    Network().entries = {LinkLayer("gone"), Ipv4("eth0", "10.0.0.1")};
    EXPECT_EQ(List(Get()), List({Adapter("eth0", {"10.0.0.1"})}));
    EXPECT_THAT(LoggedLines(), ElementsAre(Error("ioctl fail with error:No such device\n"),
                                           Error("error get mac\n")));
}

TEST_F(AdapterFailure, OfAnInterfaceThatVanishesLosesWhatIsStillToCome) {
    Network().on_event = [](const std::string& event) {
        if (event == "flags eth1") {
            Network().interfaces.erase("eth0");
        }
    };
    EXPECT_EQ(List(Get()), List({Adapter("eth0", {"10.0.0.1"}), Adapter("eth1", {"10.0.1.1"})}));
    EXPECT_THAT(LoggedLines(), ElementsAre(Error("ioctl fail with error:No such device\n"),
                                           Error("error get mac\n")));
}

TEST_F(AdapterFailure, BetweenTheTwoRequestsLosesTheEntry) {
    Network().on_event = [](const std::string& event) {
        if (event == "flags eth1") {
            Network().interfaces.erase("eth1");
        }
    };
    EXPECT_EQ(List(Get()), List({Adapter("eth0", {"10.0.0.1"}, {"fd00::1"})}));
}

TEST_F(AdapterFailure, ToConvertAnIpv4AddressSkipsIt) {
    Network().unprintable = "10.0.0.1";
    EXPECT_EQ(List(Get()), List({Adapter("eth1", {"10.0.1.1"}), Adapter("eth0", {}, {"fd00::1"})}));
    EXPECT_THAT(LoggedLines(), ElementsAre(Error("GetNetInfo,inet_ntop fail with error code "
                                                 "28,error: No space left on device\n")));
}

TEST_F(AdapterFailure, ToConvertAnIpv6AddressSkipsIt) {
    Network().unprintable = "fd00::1";
    EXPECT_EQ(List(Get()), List({Adapter("eth0", {"10.0.0.1"}), Adapter("eth1", {"10.0.1.1"})}));
    EXPECT_THAT(LoggedLines(), ElementsAre(Error("GetNetInfo,inet_ntop fail with error code "
                                                 "28,error: No space left on device\n")));
}

TEST_F(AdapterFailure, OfTheConnectionFileIsNotTheListsFailure) {
    kxtest::ClearInstallation();
    EXPECT_EQ(List(Get()),
              List({Adapter("eth0", {"10.0.0.1"}, {"fd00::1"}), Adapter("eth1", {"10.0.1.1"})}));
    EXPECT_EQ(LoggedLines().size(), 1U);
}

TEST_F(AdapterFailure, GoesTheSameWayWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    Network().unprintable = "fd00::1";
    Network().interfaces["eth1"].flags_error = EPERM;
    EXPECT_EQ(List(Get()), List({Adapter("eth0", {"10.0.0.1"})}));
    Network().getifaddrs_error = ENOMEM;
    Adapters adapters;
    EXPECT_EQ(GetNetInfo(adapters), ENOMEM);
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
