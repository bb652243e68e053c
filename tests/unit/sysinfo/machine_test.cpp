// GetSysInfo with the installation's script on the machine that runs the test.
#include <sys/utsname.h>
#include <unistd.h>

#include <filesystem>

#include "collectors/command.h"
#include "collectors/sysinfo.h"
#include "sysinfo_fixture.h"

using ::testing::IsEmpty;

namespace {

class SysInfoOfThisMachine : public SysInfoTest {
  protected:
    void SetUp() override {
        SysInfoTest::SetUp();
        std::filesystem::copy_file(KX_DISTRIBUTION_SCRIPT,
                                   kxtest::InstallationRoot() / "bin/resmon_export.sh");
        kxtest::WriteFile("config/server.ini", "[config]\naddr=192.0.2.1\n");
    }
};

}  // namespace

TEST_F(SysInfoOfThisMachine, IsCollectedWithoutAComplaint) {
    _stSysInfo sys;
    EXPECT_EQ(GetSysInfo(sys), 0);
    utsname names{};
    ASSERT_EQ(uname(&names), 0);
    EXPECT_EQ(sys.host_node, names.nodename);
    EXPECT_EQ(sys.sys_release, names.release);
    EXPECT_EQ(sys.sys_version, names.version);
    EXPECT_EQ(sys.sys_machine, names.machine);
    EXPECT_EQ(sys.host_type, 1);
    EXPECT_EQ(sys.host_plat, sizeof(long) == 8 ? 4 : 3);
    EXPECT_EQ(sys.cpu_core, sysconf(_SC_NPROCESSORS_CONF));
    EXPECT_EQ(sys.uVmid, 0U);
    EXPECT_EQ(sys.containerId, "");
    EXPECT_EQ(sys.recal_timestamp, 0U);
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(SysInfoOfThisMachine, HasTheDistributionThatAShellReadsFromOsRelease) {
    char expected[128] = {};
    ASSERT_EQ(RunCommand(". /etc/os-release && echo $NAME ${VERSION:-$VERSION_ID}", expected,
                         sizeof expected),
              0);
    if (expected[0] == '\0') {
        GTEST_SKIP() << "this machine names no distribution";
    }
    _stSysInfo sys;
    EXPECT_EQ(GetSysInfo(sys), 0);
    EXPECT_EQ(sys.sys_distro, expected);
}

TEST_F(SysInfoOfThisMachine, IsTheSameTwice) {
    kxtest::WriteFile("config/server.ini", "[config]\naddr=127.0.0.1\n");
    _stSysInfo first;
    _stSysInfo second;
    EXPECT_EQ(GetSysInfo(first), 0);
    EXPECT_EQ(GetSysInfo(second), 0);
    EXPECT_FALSE(IsSysChanged(first, second));
}
