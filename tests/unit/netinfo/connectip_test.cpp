// The address that links to the manager: read from the connection file, moved to the front.
#include <cerrno>
#include <filesystem>

#include "collectors/netinfo.h"
#include "netinfo_fixture.h"

using kxtest::Adapter;
using kxtest::Adapters;
using kxtest::Agent;
using kxtest::InstallationRoot;
using kxtest::List;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ConnectIp : public kxtest::NetInfoTest {
  protected:
    // The value as it is, which the INI library would rid of its blanks.
    void GiveValue(const char* value) {
        Agent().ini_file_get = [value](ini_file*, const char*, const char*) { return value; };
    }

    void ExpectUntouched() {
        EXPECT_EQ(List(adapters), List(before));
        EXPECT_EQ(g_strCurConnectIp, "before");
    }

    static LogLine Moved(const std::string& address) {
        return {4, "netinfo", "ip:" + address + " link to mgr transfers to first successed"};
    }

    const std::string path = (InstallationRoot() / "bin/../var/connect.ini").string();
    const Adapters before{Adapter("eth0", {"10.0.1.1", "10.0.1.2"}, {"fd00::1"}),
                          Adapter("eth1", {"10.0.2.1"}, {"fd00::2", "fd00::3"}),
                          Adapter("eth2", {"10.0.0.4", "10.0.0.5", "10.0.0.6"})};
    Adapters adapters = before;
};

}  // namespace

TEST_F(ConnectIp, OfTheThirdAdapterPutsAdapterAndAddressFirst) {
    ConnectAddress("10.0.0.5");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters),
              List({Adapter("eth2", {"10.0.0.5", "10.0.0.4", "10.0.0.6"}), before[0], before[1]}));
    EXPECT_EQ(g_strCurConnectIp, "10.0.0.5");
    EXPECT_THAT(LoggedLines(), ElementsAre(Moved("10.0.0.5")));
}

TEST_F(ConnectIp, OfTheFirstAdapterMovesTheAddressAlone) {
    ConnectAddress("10.0.1.2");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters),
              List({Adapter("eth0", {"10.0.1.2", "10.0.1.1"}, {"fd00::1"}), before[1], before[2]}));
    EXPECT_THAT(LoggedLines(), ElementsAre(Moved("10.0.1.2")));
}

TEST_F(ConnectIp, ThatIsFirstAlreadyIsToldAllTheSame) {
    ConnectAddress("10.0.1.1");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters), List(before));
    EXPECT_THAT(LoggedLines(), ElementsAre(Moved("10.0.1.1")));
}

TEST_F(ConnectIp, MayBeOfIpv6) {
    ConnectAddress("fd00::3");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters),
              List({Adapter("eth1", {"10.0.2.1"}, {"fd00::3", "fd00::2"}), before[0], before[2]}));
    EXPECT_THAT(LoggedLines(), ElementsAre(Moved("fd00::3")));
}

TEST_F(ConnectIp, InTheSecondListOfTheFirstAdapterEndsTheSearchThere) {
    adapters = {Adapter("eth0", {"10.0.0.1"}, {"fd00::1", "fd00::2"}),
                Adapter("eth1", {}, {"fd00::1", "fd00::2"})};
    ConnectAddress("fd00::2");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters), List({Adapter("eth0", {"10.0.0.1"}, {"fd00::2", "fd00::1"}),
                                    Adapter("eth1", {}, {"fd00::1", "fd00::2"})}));
}

TEST_F(ConnectIp, InBothListsOfAnAdapterMovesInBoth) {
    adapters = {Adapter("eth0", {"10.0.0.1"}), Adapter("eth1", {"a", "x"}, {"b", "x"})};
    ConnectAddress("x");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters),
              List({Adapter("eth1", {"x", "a"}, {"x", "b"}), Adapter("eth0", {"10.0.0.1"})}));
    EXPECT_THAT(LoggedLines(), ElementsAre(Moved("x")));
}

TEST_F(ConnectIp, OfSeveralAdaptersMovesTheFirst) {
    adapters = {Adapter("eth0", {"a"}), Adapter("eth1", {"b", "x"}), Adapter("eth2", {"c", "x"})};
    ConnectAddress("x");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters), List({Adapter("eth1", {"x", "b"}), Adapter("eth0", {"a"}),
                                    Adapter("eth2", {"c", "x"})}));
}

TEST_F(ConnectIp, InOneListTwiceMovesTheFirst) {
    adapters = {Adapter("eth0", {"a", "x", "b", "x"})};
    ConnectAddress("x");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters), List({Adapter("eth0", {"x", "a", "b", "x"})}));
}

TEST_F(ConnectIp, OfNoAdapterIsKeptAndMovesNothing) {
    ConnectAddress("10.0.0.50");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters), List(before));
    EXPECT_EQ(g_strCurConnectIp, "10.0.0.50");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ConnectIp, IsKeptWithoutAdapters) {
    adapters.clear();
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(g_strCurConnectIp, "203.0.113.9");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ConnectIp, ThatIsEmptyIsKept) {
    ConnectAddress("");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters), List(before));
    EXPECT_EQ(g_strCurConnectIp, "");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ConnectIp, WithAStrayBlankIsAnotherAddress) {
    GiveValue("10.0.0.5 ");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters), List(before));
    EXPECT_EQ(g_strCurConnectIp, "10.0.0.5 ");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ConnectIp, OfIpv6IsComparedAsText) {
    ConnectAddress("FD00::3");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(List(adapters), List(before));
    EXPECT_EQ(g_strCurConnectIp, "FD00::3");
}

TEST_F(ConnectIp, ThatLoopsBackChangesNothing) {
    ConnectAddress("127.0.0.1");
    adapters[2].if_ipv4.emplace_back("127.0.0.1");
    const Adapters with_loop_back = adapters;
    EXPECT_EQ(TransNetInfo(adapters), 1);
    EXPECT_EQ(List(adapters), List(with_loop_back));
    EXPECT_EQ(g_strCurConnectIp, "before");
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "netinfo", "failed to get the ip link to mgr"}));
}

TEST_F(ConnectIp, ThatLoopsBackWithAStrayBlankIsAnAddressLikeAnyOther) {
    GiveValue(" 127.0.0.1");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(g_strCurConnectIp, " 127.0.0.1");
}

TEST_F(ConnectIp, WithoutAFileChangesNothing) {
    std::filesystem::remove(InstallationRoot() / "var/connect.ini");
    EXPECT_EQ(TransNetInfo(adapters), ENOENT);
    ExpectUntouched();
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{
                                   2, "netinfo", "Failed to load ini:" + path + " with errno: 2"}));
}

TEST_F(ConnectIp, InADirectoryChangesNothing) {
    std::filesystem::remove(InstallationRoot() / "var/connect.ini");
    std::filesystem::create_directory(InstallationRoot() / "var/connect.ini");
    EXPECT_EQ(TransNetInfo(adapters), EISDIR);
    ExpectUntouched();
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(LogLine{2, "netinfo", "Failed to load ini:" + path + " with errno: 21"}));
}

// The message names the section, and it always did.
TEST_F(ConnectIp, WithoutItsKeyChangesNothing) {
    WriteFile("var/connect.ini", "[connect]\nIP=10.0.0.5\n[other]\nip=10.0.0.5\n");
    EXPECT_EQ(TransNetInfo(adapters), ENOENT);
    ExpectUntouched();
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "netinfo", "Failed to get key:connect with errno: 2"}));
}

TEST_F(ConnectIp, GivesTheErrnoOfTheKey) {
    Agent().ini_file_get = [](ini_file*, const char*, const char*) -> const char* {
        errno = ENOMEM;
        return nullptr;
    };
    EXPECT_EQ(TransNetInfo(adapters), ENOMEM);
    EXPECT_THAT(LoggedLines(),
                ElementsAre(LogLine{2, "netinfo", "Failed to get key:connect with errno: 12"}));
}

TEST_F(ConnectIp, ReleasesTheFileOnEveryPath) {
    int files = 0;
    Agent().ini_file_load = [&](const char* file) {
        EXPECT_EQ(file, path);
        ++files;
        return reinterpret_cast<ini_file*>(this);
    };
    Agent().ini_file_free = [&](ini_file* file) {
        EXPECT_EQ(file, reinterpret_cast<ini_file*>(this));
        --files;
    };
    for (const char* value : {static_cast<const char*>(nullptr), "127.0.0.1", "10.0.0.5", "none"}) {
        GiveValue(value);
        (void)TransNetInfo(adapters);
        EXPECT_EQ(files, 0);
    }
}

TEST_F(ConnectIp, IsTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    ConnectAddress("10.0.0.5");
    EXPECT_EQ(TransNetInfo(adapters), 0);
    EXPECT_EQ(adapters[0].if_name, "eth2");
    ConnectAddress("127.0.0.1");
    EXPECT_EQ(TransNetInfo(adapters), 1);
    WriteFile("var/connect.ini", "");
    EXPECT_EQ(TransNetInfo(adapters), ENOENT);
    std::filesystem::remove(InstallationRoot() / "var/connect.ini");
    EXPECT_EQ(TransNetInfo(adapters), ENOENT);
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
