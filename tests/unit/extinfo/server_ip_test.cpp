// The manager's address.
#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>

#include "collectors/extinfo.h"
#include "fake_agent.h"
#include "installation.h"
#include "log_capture.h"

using kxtest::Agent;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::WriteFile;
using testing::ElementsAre;

namespace {

class ServerIp : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        kxtest::ResetAgent();
        kxtest::ClearLog();
    }

    void ExpectNone(const LogLine& complaint) {
        std::string address = "old";
        EXPECT_EQ(GetServerIp(address), -1);
        EXPECT_EQ(address, "old");
        EXPECT_THAT(LoggedLines(), ElementsAre(complaint));
    }

    const std::string expanded = (kxtest::InstallationRoot() / "bin/../config/server.ini").string();
    const LogLine cannot_open{2, "extinfo", "Failed to open server.ini: " + expanded + "\n"};
    const LogLine cannot_get{2, "extinfo", "Failed to get ip"};
};

}  // namespace

TEST_F(ServerIp, IsTheAddressOfTheConfiguration) {
    WriteFile("config/server.ini", "[config]\naddr=10.0.0.1:8443\n");
    std::string address = "old";
    EXPECT_EQ(GetServerIp(address), 0);
    EXPECT_EQ(address, "10.0.0.1:8443");
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "extinfo", "mgr ip is 10.0.0.1:8443"}));
}

TEST_F(ServerIp, MayBeEmpty) {
    WriteFile("config/server.ini", "[config]\naddr=\n");
    std::string address = "old";
    EXPECT_EQ(GetServerIp(address), 0);
    EXPECT_EQ(address, "");
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "extinfo", "mgr ip is "}));
}

TEST_F(ServerIp, MayBeAnyText) {
    WriteFile("config/server.ini", "[config]\naddr=%s%n [x]\n");
    std::string address;
    EXPECT_EQ(GetServerIp(address), 0);
    EXPECT_EQ(address, "%s%n [x]");
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "extinfo", "mgr ip is %s%n [x]"}));
}

TEST_F(ServerIp, IsNoneWithoutTheFile) {
    ExpectNone(cannot_open);
}

TEST_F(ServerIp, IsNoneOfAFileThatCannotBeRead) {
    std::filesystem::create_directories(kxtest::InstallationRoot() / "config/server.ini");
    ExpectNone(cannot_open);
}

TEST_F(ServerIp, IsNoneWithoutTheKey) {
    WriteFile("config/server.ini", "[config]\nport=443\n");
    ExpectNone(cannot_get);
}

TEST_F(ServerIp, IsNoneWithoutTheSection) {
    WriteFile("config/server.ini", "addr=10.0.0.1\n[other]\naddr=10.0.0.1\n");
    ExpectNone(cannot_get);
}

TEST_F(ServerIp, IsNoneOfAnEmptyFile) {
    WriteFile("config/server.ini", "");
    ExpectNone(cannot_get);
}

TEST_F(ServerIp, GivesTheFileBackOnEveryPath) {
    kxe_ini_file* const handle = reinterpret_cast<kxe_ini_file*>(this);
    const char* value = "10.0.0.1";
    std::vector<std::string> steps;
    Agent().kxe_ini_file_load = [&](const char* path) {
        steps.push_back(std::string("load ") + (path == expanded ? "it" : path));
        return handle;
    };
    Agent().kxe_ini_file_get = [&](kxe_ini_file*, const char* section, const char* key) {
        steps.push_back(std::string("get ") + section + " " + key);
        return value;
    };
    Agent().kxe_ini_file_free = [&](kxe_ini_file* file) {
        EXPECT_EQ(file, handle);
        steps.emplace_back("free");
    };
    std::string address;
    EXPECT_EQ(GetServerIp(address), 0);
    value = nullptr;
    EXPECT_EQ(GetServerIp(address), -1);
    EXPECT_THAT(steps, ElementsAre("load it", "get config addr", "free",  //
                                   "load it", "get config addr", "free"));
}

TEST_F(ServerIp, IsCopiedBeforeTheFileIsGivenBack) {
    std::string value = "10.0.0.1";
    Agent().kxe_ini_file_load = [this](const char*) {
        return reinterpret_cast<kxe_ini_file*>(this);
    };
    Agent().kxe_ini_file_get = [&](kxe_ini_file*, const char*, const char*) {
        return value.c_str();
    };
    Agent().kxe_ini_file_free = [&](kxe_ini_file*) { std::ranges::fill(value, 'x'); };
    std::string address;
    EXPECT_EQ(GetServerIp(address), 0);
    EXPECT_EQ(address, "10.0.0.1");
}

TEST_F(ServerIp, IsFoundTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(0);
    std::string address;
    EXPECT_EQ(GetServerIp(address), -1);
    WriteFile("config/server.ini", "[config]\n");
    EXPECT_EQ(GetServerIp(address), -1);
    WriteFile("config/server.ini", "[config]\naddr=a\n");
    EXPECT_EQ(GetServerIp(address), 0);
    EXPECT_EQ(address, "a");
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
