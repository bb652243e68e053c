// What the manager is told of a machine whose files say something else.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "agent.h"
#include "namespaces.h"
#include "wtmp_file.h"

namespace kxtest {
namespace {

class OwnFiles : public AgentTest {
  protected:
    void SetUp() override {
        if (!EnterOwnMounts()) {
            GTEST_SKIP() << "mount namespaces need root";
        }
    }

    void Cover(const std::string& path, std::string_view content) {
        const std::string store =
            installation().path("covering").string() + std::to_string(++m_stores);
        ASSERT_TRUE(CoverFile(path, store, content)) << path;
    }

    void SetLogins(std::string_view content) {
        ASSERT_TRUE(CoverDirectory("/var/log"));
        std::ofstream("/var/log/wtmp", std::ios::binary) << content;
    }

    Json FirstUpload() {
        StartManager();
        StartQuickHost();
        return Upload(0);
    }

  private:
    int m_stores = 0;
};

TEST_F(OwnFiles, TellTheDistribution) {
    Cover("/etc/os-release", "NAME=\"Some Linux\"\nVERSION=\"7 (seven)\"\nID=some\n");
    const Json upload = FirstUpload();
    EXPECT_EQ(Text(upload.get(), "epinfo.sys_info.base_info.sys_distro"), "Some Linux 7 (seven)");
}

TEST_F(OwnFiles, TellMemoryAndLoad) {
    Cover("/proc/meminfo", "MemTotal: 5000 kB\nMemFree: 100 kB\nMemAvailable: 2000 kB\n");
    Cover("/proc/stat", "cpu 10 0 0 90 0 0 0 0\n");
    const Json upload = FirstUpload();
    EXPECT_EQ(Number(upload.get(), "epinfo.rc_info.mem_total"), 5000);
    EXPECT_EQ(Number(upload.get(), "epinfo.rc_info.mem_usaged"), 3000);
    EXPECT_EQ(Number(upload.get(), "epinfo.rc_info.cpu_usage"), 0);
    EXPECT_TRUE(Logs("Numerical verification utilized1: 10, total1: 100"));
}

TEST_F(OwnFiles, TellTheLastLogin) {
    SetLogins(WtmpEntry(USER_PROCESS, "alice", "10.0.0.9", 1700000000));
    const Json upload = FirstUpload();
    EXPECT_EQ(Number(upload.get(), "epinfo.cmd"), 14);
    EXPECT_EQ(Text(upload.get(), "epinfo.login_info.usr_info.0.login_name"),
              std::string("alice").append(27, '\0'));
    EXPECT_EQ(Text(upload.get(), "epinfo.login_info.usr_info.0.login_ip"),
              std::string("10.0.0.9").append(248, '\0'));
}

TEST_F(OwnFiles, WithoutLoginsMakeAnUploadWithoutOne) {
    SetLogins(WtmpEntry(BOOT_TIME, "reboot", "6.1.0", 1700000000));
    const Json upload = FirstUpload();
    EXPECT_EQ(Number(upload.get(), "epinfo.cmd"), 6);
    EXPECT_TRUE(Logs("Get user login information failed with error: -1"));
}

using OwnName = AgentTest;

TEST_F(OwnName, IsToldWithTheKernelsIdentity) {
    if (!EnterOwnHostName("endpoint-17")) {
        GTEST_SKIP() << "a host name of one's own needs root";
    }
    StartManager();
    StartQuickHost();
    const Json upload = Upload(0);
    const std::string base = "epinfo.sys_info.base_info.";
    EXPECT_EQ(Text(upload.get(), base + "host_node"), "endpoint-17");
    EXPECT_EQ(Text(upload.get(), base + "sys_release") + "\n",
              RunToEnd("/bin/uname", {"-r"}).output);
    EXPECT_EQ(Text(upload.get(), base + "sys_version") + "\n",
              RunToEnd("/bin/uname", {"-v"}).output);
    EXPECT_EQ(Text(upload.get(), base + "sys_machine") + "\n",
              RunToEnd("/bin/uname", {"-m"}).output);
    EXPECT_EQ(Number(upload.get(), base + "cpu_core"), sysconf(_SC_NPROCESSORS_CONF));
    EXPECT_EQ(Number(upload.get(), base + "host_type"), 1);
    EXPECT_EQ(Number(upload.get(), base + "host_plat"), sizeof(long) == 8 ? 4 : 3);
}

TEST_F(OwnName, IsToldAgainWhenItChanges) {
    if (!EnterOwnHostName("endpoint-17")) {
        GTEST_SKIP() << "a host name of one's own needs root";
    }
    StartManager();
    StartQuickHost();
    ASSERT_NE(Upload(0), nullptr);
    ASSERT_EQ(sethostname("endpoint-18", 11), 0);
    ASSERT_TRUE(Logs("computername: endpoint-18"));
    EXPECT_TRUE(manager().wait_for_output("\"host_node\": \"endpoint-18\""));
}

using Identity = AgentTest;

const char* const kVmid = "epinfo.sys_info.base_info.uVmid";
const char* const kRecalculated = "epinfo.sys_info.base_info.recal_timestamp";

TEST_F(Identity, OfTheVirtualMachineIsToldToAManagerOnThisMachine) {
    installation().write("config/server.ini", "[config]\naddr=127.0.0.1:8443\n");
    StartManager();
    StartQuickHost();
    EXPECT_NE(Text(Upload(0).get(), kVmid), "0");
}

TEST_F(Identity, OfTheVirtualMachineIsNotToldToAnotherManager) {
    installation().write("config/server.ini", "[config]\naddr=10.0.0.1\n");
    StartManager();
    StartQuickHost();
    const Json upload = Upload(0);
    EXPECT_EQ(Text(upload.get(), kVmid), "0");
    EXPECT_EQ(Number(upload.get(), kRecalculated), 0);
}

TEST_F(Identity, ThatWasOrderedAnewIsToldWithTheTimeOfTheOrder) {
    installation().write("config/recalculate_agentid", "");
    struct stat status = {};
    ASSERT_EQ(stat(installation().path("config/recalculate_agentid").c_str(), &status), 0);
    StartManager();
    StartQuickHost();
    EXPECT_EQ(Number(Upload(0).get(), kRecalculated), status.st_ctime);
}

}  // namespace
}  // namespace kxtest
