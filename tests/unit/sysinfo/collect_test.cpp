// GetSysInfo with hooks in front of the machine.
#include <unistd.h>

#include <cerrno>
#include <map>
#include <vector>

#include "collectors/hypervisor.h"
#include "collectors/sysinfo.h"
#include "record_fields.h"
#include "sysinfo_fixture.h"

using kxtest::Agent;
using kxtest::Fields;
using kxtest::LoggedLines;
using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

namespace {

int NamesOfTheKernel(utsname* names) {
    *names = {"Linux", "node", "6.1.0", "#1 SMP", "x86_64", "domain"};
    return 0;
}

constexpr char kGetconf[] = "getconf LONG_BIT";

class SysInfo : public SysInfoTest {
  protected:
    void SetUp() override {
        SysInfoTest::SetUp();
        Machine().uname = NamesOfTheKernel;
        Machine().sysconf = [](int name) { return name == _SC_NPROCESSORS_CONF ? 8L : -1L; };
        Machine().shell = [this](const std::string& command) { return Run(command); };
        Agent().nox_get_vmidid = [] { return uint64_t{4711}; };
        Agent().IsCNAPPAgent = [] { return 0; };
        kxtest::WriteFile("config/server.ini", "[config]\naddr=192.0.2.1\n");
    }

    std::optional<std::string> Run(const std::string& command) {
        commands.push_back(command);
        const bool is_getconf = command == kGetconf;
        if (is_getconf ? getconf_fails : script_fails) {
            return std::nullopt;
        }
        return CommandThatPrints(is_getconf ? getconf : script);
    }

    int Collect() { return GetSysInfo(sys); }

    // What is collected from the hooks as they are set up.
    static _stSysInfo Expected() {
        _stSysInfo expected;
        expected.host_type = 1;
        IsInVirtualEnv(expected.is_virtual);
        expected.host_plat = 4;
        expected.cpu_core = 8;
        expected.host_node = "node";
        expected.sys_release = "6.1.0";
        expected.sys_version = "#1 SMP";
        expected.sys_machine = "x86_64";
        expected.sys_distro = "Distribution 1";
        return expected;
    }

    static std::string ScriptCommand() {
        return "/bin/bash " + Expanded("resmon_export.sh") + " get_linux_dist_ver";
    }
    static LogLine ScriptFailed() {
        return {2, "sysinfo", "execute m_cmd fail, m_cmd is " + ScriptCommand() + "\n"};
    }

    bool script_fails = false;
    bool getconf_fails = false;
    std::string script = "Distribution 1\n";
    std::string getconf = "64\n";
    std::vector<std::string> commands;
    _stSysInfo sys;
};

const LogLine kGetconfFailed{2, "sysinfo", "execute cmd \"getconf LONG_BIT\" failed."};

}  // namespace

TEST_F(SysInfo, FillsTheRecord) {
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(Fields(sys), Fields(Expected()));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SysInfo, ReplacesWhatTheRecordHeld) {
    sys = Expected();
    sys.host_type = sys.is_virtual = sys.host_plat = sys.cpu_core = 77;
    sys.uVmid = sys.recal_timestamp = 77;
    sys.host_node = sys.sys_release = sys.sys_version = sys.sys_machine = sys.sys_distro = "old";
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(Fields(sys), Fields(Expected()));
}

TEST_F(SysInfo, LeavesTheSpareFieldsAlone) {
    sys.spare_kind = 6;
    sys.spare_value = 7;
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.spare_kind, 6);
    EXPECT_EQ(sys.spare_value, 7);
}

TEST_F(SysInfo, RunsTheScriptAndThenGetconf) {
    EXPECT_EQ(Collect(), 0);
    EXPECT_THAT(commands, ElementsAre(ScriptCommand(), kGetconf));
}

TEST_F(SysInfo, KernelNamesThatCannotBeReadHaveFallbacks) {
    Machine().uname = [](utsname* names) {
        NamesOfTheKernel(names);
        errno = EFAULT;
        return -1;
    };
    _stSysInfo expected = Expected();
    expected.host_node = "unkown";
    expected.sys_release = "linux";
    expected.sys_version = "unknown";
    expected.sys_machine = "unknown architecture";
    EXPECT_EQ(Collect(), EFAULT);
    EXPECT_EQ(Fields(sys), Fields(expected));
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "sysinfo", "uname fail,Bad address\n"}));
}

TEST_F(SysInfo, AScriptThatFailsLeavesTheDistributionEmpty) {
    script_fails = true;
    _stSysInfo expected = Expected();
    expected.sys_distro = "";
    sys.sys_distro = "old";
    EXPECT_EQ(Collect(), -1);
    EXPECT_EQ(Fields(sys), Fields(expected));
    EXPECT_THAT(LoggedLines(), ElementsAre(ScriptFailed()));
}

TEST_F(SysInfo, AScriptThatPrints200CharactersLeavesTheDistributionEmpty) {
    script = std::string(199, 'd') + "\n";
    EXPECT_EQ(Collect(), -1);
    EXPECT_EQ(sys.sys_distro, "");
    EXPECT_THAT(LoggedLines(), ElementsAre(ScriptFailed()));
}

TEST_F(SysInfo, TheDistributionHoldsUpTo126Characters) {
    script = std::string(126, 'd') + "\n";
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.sys_distro, std::string(126, 'd'));
    script = std::string(127, 'd') + "\n";
    EXPECT_EQ(Collect(), -1);
    EXPECT_EQ(sys.sys_distro, "");
}

TEST_F(SysInfo, ADistributionWithoutANewlineLosesItsLastCharacter) {
    script = "Distribution 12";
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.sys_distro, "Distribution 1");
}

TEST_F(SysInfo, ThirtyTwoBitsAreAnotherPlatform) {
    getconf = "32\n";
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.host_plat, 3);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SysInfo, AnythingButExactly64IsAnotherPlatform) {
    for (const char* const text : {"64", "640\n", "064\n", "64 \n", "6\n", "undefined", "\n"}) {
        getconf = text;
        EXPECT_EQ(Collect(), 0) << text;
        EXPECT_EQ(sys.host_plat, 3) << text;
    }
}

// A machine without getconf prints nothing, which is no failure of the command.
TEST_F(SysInfo, NoOutputOfGetconfIsAnotherPlatform) {
    getconf = "";
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.host_plat, 3);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(SysInfo, AGetconfThatCannotBeStartedLeaves64Bits) {
    getconf_fails = true;
    sys.host_plat = 3;
    EXPECT_EQ(Collect(), -1);
    EXPECT_EQ(sys.host_plat, 4);
    EXPECT_THAT(LoggedLines(), ElementsAre(kGetconfFailed));
}

TEST_F(SysInfo, AGetconfThatPrintsTenCharactersLeaves64Bits) {
    getconf = "123456789\n";
    EXPECT_EQ(Collect(), -1);
    EXPECT_EQ(sys.host_plat, 4);
    EXPECT_THAT(LoggedLines(), ElementsAre(kGetconfFailed));
    getconf = "12345678\n";
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.host_plat, 3);
}

TEST_F(SysInfo, AFailedCommandHidesTheErrorOfUname) {
    Machine().uname = [](utsname*) {
        errno = EFAULT;
        return -1;
    };
    getconf_fails = true;
    EXPECT_EQ(Collect(), -1);
    script_fails = true;
    EXPECT_EQ(Collect(), -1);
    getconf_fails = false;
    EXPECT_EQ(Collect(), -1);
}

TEST_F(SysInfo, EveryFailureIsToldInOrderAndTheRecordIsFullAllTheSame) {
    Machine().uname = [](utsname*) {
        errno = EPERM;
        return -1;
    };
    Machine().sysconf = [](int) { return -1L; };
    script_fails = true;
    getconf_fails = true;
    kxtest::WriteFile("config/recalculate_agentid", "");
    std::filesystem::remove(kxtest::InstallationRoot() / "config/server.ini");
    Machine().stat = [](const char*, struct stat*) { return -1; };
    _stSysInfo expected = Expected();
    expected.cpu_core = -1;
    expected.host_node = "unkown";
    expected.sys_release = "linux";
    expected.sys_version = "unknown";
    expected.sys_machine = "unknown architecture";
    expected.sys_distro = "";
    EXPECT_EQ(Collect(), -1);
    EXPECT_EQ(Fields(sys), Fields(expected));
    EXPECT_THAT(
        LoggedLines(),
        ElementsAre(
            LogLine{2, "sysinfo", "uname fail,Operation not permitted\n"}, ScriptFailed(),
            kGetconfFailed,
            LogLine{2, "sysinfo", "load " + Expanded("../config/server.ini") + " failed"},
            LogLine{2, "sysinfo", "fail to stat : " + Expanded("../config/recalculate_agentid")}));
}

TEST_F(SysInfo, NothingButTheCommandsDecidesTheResult) {
    Machine().sysconf = [](int) { return -1L; };
    kxtest::WriteFile("config/recalculate_agentid", "");
    std::filesystem::remove(kxtest::InstallationRoot() / "config/server.ini");
    Machine().stat = [](const char*, struct stat*) { return -1; };
    EXPECT_EQ(Collect(), 0);
}

TEST_F(SysInfo, TheVmidIsReportedToAManagerOnThisMachine) {
    kxtest::WriteFile("config/server.ini", "[config]\naddr=127.0.0.1\n");
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.uVmid, 4711U);
}

TEST_F(SysInfo, TheContainerIsThatOfThisProcess) {
    Agent().IsCNAPPAgent = [] { return 2; };
    Agent().read_container_id = [](pid_t pid, char* buffer, std::size_t size) {
        EXPECT_EQ(pid, getpid());
        EXPECT_EQ(size, 65U);
        std::fill_n(buffer, 64, 'c');
        buffer[64] = '\0';
        return 0;
    };
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.containerId, std::string(64, 'c'));
}

TEST_F(SysInfo, AContainerThatIsNotFoundIsEmpty) {
    Agent().IsCNAPPAgent = [] { return 1; };
    Agent().read_container_id = [](pid_t, char*, std::size_t) { return -1; };
    sys.containerId = "old";
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.containerId, "");
}

TEST_F(SysInfo, OtherEditionsDoNotLookForAContainer) {
    Agent().read_container_id = [](pid_t, char*, std::size_t) {
        ADD_FAILURE() << "looked for a container";
        return -1;
    };
    sys.containerId = "kept";
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.containerId, "kept");
}

TEST_F(SysInfo, TheRecalculationTimeIsThatOfTheFlag) {
    kxtest::WriteFile("config/recalculate_agentid", "");
    Machine().stat = [](const char* path, struct stat* status) {
        EXPECT_THAT(path, EndsWith("/../config/recalculate_agentid"));
        status->st_ctime = 1700000000;
        return 0;
    };
    EXPECT_EQ(Collect(), 0);
    EXPECT_EQ(sys.recal_timestamp, 1700000000U);
}

TEST_F(SysInfo, NothingIsFormattedWhenNoLevelIsEnabled) {
    kxtest::EnableLogLevels(0);
    script_fails = true;
    getconf_fails = true;
    EXPECT_EQ(Collect(), -1);
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
