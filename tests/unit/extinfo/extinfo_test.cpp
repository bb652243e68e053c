// The whole record, from the files of an installation.
#include "extinfo_fixture.h"
#include "installed_at.h"

using kxtest::Agent;
using kxtest::Fields;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::WriteFile;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr char kAllVersions[] =
    R"({"name": "agent", "version": {"components": "6.0.1", "plus": "R2", "virusdbs": "1",
        "patchdbs": "2", "ioadbs": "3", "iocdbs": "4.4"}})";

void ExpectReleaseWithoutFile(const std::string& directory) {
    _stExtInfo found;
    found.mgr_addr = "10.9.9.9";
    RunInstalledAt(directory, [&] { EXPECT_EQ(GetExtInfo(found), 0); });
    _stExtInfo expected;
    expected.agent_version = "3.2.10.100";
    expected.virus_version = "20190220222616";
    expected.patchdb_version = "20190227112530";
    expected.ioadb_version = "0";
    expected.iocdb_version = "0.0";
    expected.mgr_addr = "10.9.9.9";
    EXPECT_EQ(Fields(found), Fields(expected));
}

}  // namespace

TEST_F(ExtInfo, TellsVersionsAndManager) {
    WriteFile("config/agent_cfg.json", kAllVersions);
    WriteFile("config/server.ini", "[config]\naddr=10.0.0.1\n");
    _stExtInfo expected = Expected("6.0.1 R2", "1", "2", "3", "4.4");
    expected.mgr_addr = "10.0.0.1";
    EXPECT_EQ(Fields(Collect()), Fields(expected));
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "extinfo", "mgr ip is 10.0.0.1"}));
}

TEST_F(ExtInfo, WithoutTheFileHoldsZeros) {
    WriteFile("config/server.ini", "[config]\naddr=10.0.0.1\n");
    EXPECT_EQ(Fields(Collect()), Fields(Zeros()));
}

TEST_F(ExtInfo, WithoutTheFileInTheProductsOwnDirectoryHoldsTheReleasesVersions) {
    ExpectReleaseWithoutFile("/nowhere/kx/edr/agent/bin");
    ExpectReleaseWithoutFile("/nowhere/velmora/edr/agent/bin");
}

TEST_F(ExtInfo, AppendsPlusToTheDefaultWithoutComponents) {
    WriteFile("config/agent_cfg.json", R"({"version": {"components": 6, "plus": "R2"}})");
    EXPECT_EQ(Collect().agent_version, "0.0.0 R2");
}

TEST_F(ExtInfo, FollowsTheFilesFromCallToCall) {
    WriteFile("config/agent_cfg.json", kAllVersions);
    WriteFile("config/server.ini", "[config]\naddr=10.0.0.1\n");
    _stExtInfo found;
    EXPECT_EQ(GetExtInfo(found), 0);
    WriteFile("config/agent_cfg.json", R"({"version": {"components": "6.0.2"}})");
    WriteFile("config/server.ini", "[config]\naddr=10.0.0.2\n");
    EXPECT_EQ(GetExtInfo(found), 0);
    EXPECT_EQ(found.agent_version, "6.0.2");
    EXPECT_EQ(found.virus_version, "0");
    EXPECT_EQ(found.mgr_addr, "10.0.0.2");
}

// Without the versions there is no look for the manager.
TEST_F(ExtInfo, WithoutVersionsDoesNotReadTheManagersAddress) {
    int loads = 0;
    Agent().kxe_ini_file_load = [&](const char*) -> kxe_ini_file* {
        ++loads;
        return nullptr;
    };
    WriteFile("config/agent_cfg.json", R"({"version": ["6.0.1"]})");
    EXPECT_EQ(Fields(Collect()), Fields(Zeros()));
    EXPECT_THAT(LoggedLines(), ElementsAre(Error("version parameter is invalid")));
    WriteFile("config/agent_cfg.json", "no JSON");
    EXPECT_EQ(Fields(Collect()), Fields(Zeros()));
    EXPECT_EQ(loads, 0);
}

TEST_F(ExtInfo, KeepsTheManagersAddressWithoutTheFile) {
    WriteFile("config/agent_cfg.json", kAllVersions);
    EXPECT_EQ(Fields(Collect()), Fields(Expected("6.0.1 R2", "1", "2", "3", "4.4")));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("Failed to open server.ini: " + config + "server.ini\n"),
                            Error("get server ip failed")));
}

TEST_F(ExtInfo, KeepsTheManagersAddressWithoutTheKey) {
    WriteFile("config/agent_cfg.json", kAllVersions);
    WriteFile("config/server.ini", "[config]\nport=443\n");
    EXPECT_EQ(Fields(Collect()), Fields(Expected("6.0.1 R2", "1", "2", "3", "4.4")));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(Error("Failed to get ip"), Error("get server ip failed")));
}

TEST_F(ExtInfo, ComplainsOfTheVersionsBeforeTheManager) {
    WriteFile("config/agent_cfg.json", R"({"version": {}})");
    WriteFile("config/server.ini", "[config]\naddr=10.0.0.1\n");
    EXPECT_EQ(Collect().mgr_addr, "10.0.0.1");
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(Error("component version  parameter is invalid!"),
                    LogLine{3, "extinfo", "component has no plus version"},
                    Error("db version parameter is invalid!"), Error("Invalid patch version"),
                    Error("Invalid ioa version"), Error("Invalid ioc version"),
                    LogLine{4, "extinfo", "mgr ip is 10.0.0.1"}));
}

TEST_F(ExtInfo, IsCollectedTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    EXPECT_EQ(Fields(Collect()), Fields(Zeros()));
    WriteFile("config/agent_cfg.json", "[]");
    EXPECT_EQ(Fields(Collect()), Fields(Zeros()));
    WriteFile("config/agent_cfg.json", kAllVersions);
    EXPECT_EQ(Fields(Collect()), Fields(Expected("6.0.1 R2", "1", "2", "3", "4.4")));
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
