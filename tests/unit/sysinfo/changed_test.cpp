#include <gmock/gmock.h>

#include "collectors/sysinfo.h"
#include "log_capture.h"

using kxtest::LoggedLines;
using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

_stSysInfo Sample() {
    _stSysInfo sys;
    sys.host_type = 1;
    sys.is_virtual = 1;
    sys.host_plat = 4;
    sys.cpu_core = 8;
    sys.uVmid = 18446744073709551615U;
    sys.host_node = "node";
    sys.sys_release = "6.1.0";
    sys.sys_version = "#1 SMP";
    sys.sys_machine = "x86_64";
    sys.sys_distro = "Debian GNU/Linux 12";
    sys.containerId = "0123abcd";
    sys.recal_timestamp = 1700000000;
    return sys;
}

LogLine Information(const std::string& text) {
    return {3, "kxepinfo", text};
}

class SysChanged : public ::testing::Test {
  protected:
    void SetUp() override { kxtest::ClearLog(); }

    // Whether a record is changed in which one thing differs from the sample.
    template <class Change>
    bool Differs(Change change) {
        _stSysInfo current = Sample();
        change(current);
        return IsSysChanged(Sample(), current);
    }
};

}  // namespace

TEST_F(SysChanged, EqualRecordsAreNotChangedAndNothingIsLogged) {
    EXPECT_FALSE(IsSysChanged(Sample(), Sample()));
    EXPECT_FALSE(IsSysChanged({}, {}));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SysChanged, WhenIsVirtualDiffers) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.is_virtual = 0; }));
}

TEST_F(SysChanged, WhenHostTypeDiffers) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.host_type = 0; }));
}

TEST_F(SysChanged, WhenMachineDiffers) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.sys_machine = "aarch64"; }));
}

TEST_F(SysChanged, WhenNodeDiffers) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.host_node = "Node"; }));
}

TEST_F(SysChanged, WhenDistributionDiffers) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.sys_distro += " "; }));
}

TEST_F(SysChanged, WhenPlatformDiffers) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.host_plat = 3; }));
}

TEST_F(SysChanged, WhenProcessorsDiffer) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.cpu_core = 9; }));
}

TEST_F(SysChanged, WhenReleaseDiffers) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.sys_release.clear(); }));
}

TEST_F(SysChanged, WhenVersionDiffers) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.sys_version = "#2 SMP"; }));
}

TEST_F(SysChanged, WhenVmidDiffersInItsHighestBit) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.uVmid = 0x7FFFFFFFFFFFFFFF; }));
}

TEST_F(SysChanged, WhenContainerIdDiffers) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.containerId.clear(); }));
}

TEST_F(SysChanged, NotWhenTheRecalculationTimeDiffers) {
    EXPECT_FALSE(Differs([](_stSysInfo& sys) { sys.recal_timestamp = 0; }));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SysChanged, NotWhenTheSpareFieldsDiffer) {
    EXPECT_FALSE(Differs([](_stSysInfo& sys) { sys.spare_kind = 6; }));
    EXPECT_FALSE(Differs([](_stSysInfo& sys) { sys.spare_value = 1; }));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SysChanged, TextsAreComparedBehindAZeroByteToo) {
    EXPECT_TRUE(Differs([](_stSysInfo& sys) { sys.host_node.push_back('\0'); }));
}

TEST_F(SysChanged, TheCurrentRecordIsToldOnceInFull) {
    _stSysInfo current = Sample();
    current.containerId = "another";
    EXPECT_TRUE(IsSysChanged(Sample(), current));
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(Information("system information has changed\n"),
                    Information("system vmid is 18446744073709551615"),
                    Information("computername: node\n"), Information("architecture: x86_64\n"),
                    Information("system distro: Debian GNU/Linux 12\n"),
                    Information("system release: 6.1.0\n"), Information("system version: #1 SMP\n"),
                    Information("virtual machine: 1, isserver: 1, platform type: 4, cpu core: 8\n"),
                    Information("system containerId: another\n")));
}

TEST_F(SysChanged, TheFirstRecordAfterNoneIsAChange) {
    EXPECT_TRUE(IsSysChanged({}, Sample()));
    EXPECT_EQ(LoggedLines().size(), 9U);
}

TEST_F(SysChanged, NothingIsFormattedWhenNoLevelIsEnabled) {
    kxtest::EnableLogLevels(0);
    EXPECT_TRUE(IsSysChanged({}, Sample()));
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
