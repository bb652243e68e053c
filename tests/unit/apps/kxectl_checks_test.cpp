#include "kxectl/checks.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "installation.h"
#include "kxectl/doctor.h"

namespace fs = std::filesystem;

using kxectl::Finding;
using kxectl::Findings;
using kxtest::InstallationRoot;
using kxtest::WriteFile;
using testing::AllOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::Field;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

// An installation in which there is nothing to find.
class Checks : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        umask(022);
        WriteFile("lib/libkxepinfo.so", "");
        WriteFile("bin/resmon_export.sh", "");
        WriteFile("config/agent_cfg.json", R"({"version": {"components": "1.0"}})");
        WriteFile("config/server_port.ini", "");
        WriteFile("config/server.ini", "[config]\naddr=10.0.0.1\n");
        WriteFile("var/connect.ini", "[connect]\nip=\n");
        WriteFile("config/agent_id", "7");
    }

    static Findings Found(void (*check)(const fs::path& root, Findings& findings)) {
        Findings findings;
        check(InstallationRoot(), findings);
        return findings;
    }
    static Findings FoundInSettings() {
        Findings findings;
        kxectl::CheckSettings(kxectl::ReadSettings(InstallationRoot()), findings);
        return findings;
    }
    static std::string Path(const std::string& relative) {
        return (InstallationRoot() / relative).string();
    }
};

auto What(const testing::Matcher<std::string>& matcher) {
    return Field(&Finding::what, matcher);
}

}  // namespace

TEST_F(Checks, FindNothingInAnInstallationAsItShouldBe) {
    for (const auto check :
         {kxectl::CheckFiles, kxectl::CheckFlags, kxectl::CheckState, kxectl::CheckLogDirectory}) {
        EXPECT_THAT(Found(check), IsEmpty());
    }
    EXPECT_THAT(FoundInSettings(), IsEmpty());
    Findings findings;
    kxectl::CheckPermissions(InstallationRoot(), geteuid(), findings);
    kxectl::CheckClock(InstallationRoot(), std::time(nullptr), findings);
    EXPECT_THAT(findings, IsEmpty());
}

TEST_F(Checks, TellWhoElseCanChangeAFile) {
    ASSERT_EQ(chmod(Path("config/server.ini").c_str(), 0666), 0);
    Findings findings;
    kxectl::CheckPermissions(InstallationRoot(), geteuid(), findings);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].what, Path("config/server.ini") +
                                    " can be changed by everybody (mode 0666, owner " +
                                    std::to_string(geteuid()) + ")");
    EXPECT_EQ(findings[0].remedy, "chmod go-w " + Path("config/server.ini"));
}

TEST_F(Checks, TellAnOwnerWhoIsNotTheHostsUser) {
    constexpr uid_t kOther = 1000;
    if (chown(Path("config/server.ini").c_str(), kOther, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "giving files away needs root";
    }
    Findings findings;
    kxectl::CheckPermissions(InstallationRoot(), kOther, findings);
    EXPECT_THAT(findings, IsEmpty());
    kxectl::CheckPermissions(InstallationRoot(), 0, findings);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_EQ(findings[0].remedy, "chown root " + Path("config/server.ini"));
}

TEST_F(Checks, TellWhatIsMissing) {
    for (const std::string file : {"lib/libkxepinfo.so", "bin/resmon_export.sh",
                                   "config/agent_cfg.json", "config/server_port.ini"}) {
        fs::rename(Path(file), Path("away"));
        EXPECT_THAT(Found(kxectl::CheckFiles), ElementsAre(What(Path(file) + " is missing")));
        fs::rename(Path("away"), Path(file));
    }
}

TEST_F(Checks, TellWhatIsNoFile) {
    fs::remove(Path("config/agent_cfg.json"));
    ASSERT_EQ(mkfifo(Path("config/agent_cfg.json").c_str(), 0600), 0);
    EXPECT_THAT(
        Found(kxectl::CheckFiles),
        ElementsAre(What(Path("config/agent_cfg.json") + " cannot be read: is no file with text")));
    EXPECT_THAT(Found(kxectl::CheckState), IsEmpty());  // told once, and not waited for
}

TEST_F(Checks, TellWhatMayNotBeRead) {
    if (geteuid() == 0) {
        GTEST_SKIP() << "root may read everything";
    }
    ASSERT_EQ(chmod(Path("bin/resmon_export.sh").c_str(), 0), 0);
    EXPECT_THAT(Found(kxectl::CheckFiles),
                ElementsAre(What(EndsWith("cannot be read: Permission denied"))));
}

TEST_F(Checks, TellThatTheAgentIsBeingRemoved) {
    WriteFile("bin/uninstalling", "");
    EXPECT_THAT(Found(kxectl::CheckFlags), ElementsAre(What(Path("bin/uninstalling") + " exists")));
}

TEST_F(Checks, TellThatAnIdWaitsToBeDrawn) {
    WriteFile("config/recalculate_agentid", "");
    const auto drawn = fs::last_write_time(Path("config/agent_id"));
    fs::last_write_time(Path("config/recalculate_agentid"), drawn - std::chrono::hours(1));
    EXPECT_THAT(Found(kxectl::CheckFlags), IsEmpty());
    fs::last_write_time(Path("config/recalculate_agentid"), drawn + std::chrono::hours(1));
    EXPECT_THAT(Found(kxectl::CheckFlags),
                ElementsAre(What(Path("config/recalculate_agentid") + " is newer than agent_id")));
}

TEST_F(Checks, TellAValueThatDoesNotCount) {
    WriteFile("config/kxepinfocfg.ini", "[flushgap]\nvalue=1\n");
    WriteFile("config/log/agent/kxepinfo/agent/log.ini", "[log]\nlevel=debug\n");
    EXPECT_THAT(FoundInSettings(),
                ElementsAre(What("[flushgap] value in config/kxepinfocfg.ini is no number from 2: "
                                 "40 counts"),
                            What("[log] level in config/log/agent/kxepinfo/agent/log.ini is none "
                                 "of 1, 2, 3 and 4: 3 counts")));
}

TEST_F(Checks, TellAFileOfValuesThatCannotBeRead) {
    WriteFile("config/ipc.ini", std::string("[ipc]\0", 6));
    EXPECT_THAT(FoundInSettings(),
                ElementsAre(What("config/ipc.ini cannot be read: is no file with text")));
}

TEST_F(Checks, TellAnAgentIdThatIsNone) {
    for (const std::string id : {"0", "4294967296", "seven", "-1"}) {
        WriteFile("config/agent_id", id);
        EXPECT_THAT(Found(kxectl::CheckState),
                    ElementsAre(What(StartsWith(Path("config/agent_id") + " holds no number"))))
            << id;
    }
    fs::remove(Path("config/agent_id"));
    EXPECT_THAT(Found(kxectl::CheckState), IsEmpty());
}

TEST_F(Checks, TellVersionsThatCannotBeRead) {
    for (const std::string text : {"", "{", "[]", "{}", R"({"version": "1"})"}) {
        WriteFile("config/agent_cfg.json", text);
        EXPECT_THAT(Found(kxectl::CheckState),
                    ElementsAre(What(Path("config/agent_cfg.json") +
                                     " is no JSON object with an object version")))
            << text;
    }
}

TEST_F(Checks, TellALogDirectoryThatIsNone) {
    fs::create_directories(Path("var/log/agent"));
    EXPECT_THAT(Found(kxectl::CheckLogDirectory), IsEmpty());
    WriteFile("var/log/agent/kxepinfo", "");
    ASSERT_EQ(chmod(Path("var/log/agent/kxepinfo").c_str(), 0755), 0);
    EXPECT_THAT(Found(kxectl::CheckLogDirectory),
                ElementsAre(What(Path("var/log/agent/kxepinfo") + " is no directory")));
}

TEST_F(Checks, TellWhoeverMayNotWriteTheLogToAskAsTheHostsUser) {
    Findings findings;
    kxectl::JudgeLogDirectory("/log", EACCES, 1000, findings);
    kxectl::JudgeLogDirectory("/log", EACCES, 0, findings);
    kxectl::JudgeLogDirectory("/log", EROFS, 1000, findings);
    EXPECT_THAT(
        findings,
        ElementsAre(AllOf(What("/log cannot be written to: Permission denied for user 1000"),
                          Field(&Finding::remedy, StartsWith("run this as root or as the host's "
                                                             "user;"))),
                    What("/log cannot be written to: Permission denied"),
                    AllOf(What("/log cannot be written to: Read-only file system"),
                          Field(&Finding::remedy, StartsWith("make it a directory of the host's "
                                                             "user,")))));
}

TEST_F(Checks, TellAModuleThatCannotBeLoaded) {
    const Findings findings = Found(kxectl::CheckModule);
    ASSERT_EQ(findings.size(), 1U);
    EXPECT_THAT(findings[0].what, StartsWith("the module cannot be loaded: "));
    EXPECT_THAT(findings[0].what, HasSubstr(Path("lib/libkxepinfo.so")));
    EXPECT_THAT(findings[0].remedy, EndsWith("ldd " + Path("lib/libkxepinfo.so") + " lists all"));
}

TEST_F(Checks, LoadAModuleThatIsOne) {
    fs::remove(Path("lib/libkxepinfo.so"));
    fs::create_symlink(KX_FAKE_MODULE, Path("lib/libkxepinfo.so"));
    EXPECT_THAT(Found(kxectl::CheckModule), IsEmpty());
    fs::remove(Path("lib/libkxepinfo.so"));
    EXPECT_THAT(Found(kxectl::CheckModule), IsEmpty());  // told as a missing file
}

TEST_F(Checks, TellADiskThatIsNearlyFull) {
    Findings findings;
    kxectl::JudgeSpace("/var", kxectl::kLeastFreeBytes, 1, 10, findings);
    kxectl::JudgeSpace("/var", kxectl::kLeastFreeBytes, 0, 0, findings);
    EXPECT_THAT(findings, IsEmpty());
    kxectl::JudgeSpace("/var", kxectl::kLeastFreeBytes - 1, 1, 10, findings);
    kxectl::JudgeSpace("/var", kxectl::kLeastFreeBytes, 0, 10, findings);
    EXPECT_THAT(findings, ElementsAre(What("the disk of /var has 63 MiB left"),
                                      What("the disk of /var takes no more files")));
}

TEST_F(Checks, TellAClockThatIsBehindTheModule) {
    struct stat status {};
    ASSERT_EQ(stat(Path("lib/libkxepinfo.so").c_str(), &status), 0);
    Findings findings;
    kxectl::CheckClock(InstallationRoot(), status.st_mtime - 60, findings);
    EXPECT_THAT(findings, IsEmpty());
    kxectl::CheckClock(InstallationRoot(), status.st_mtime - 61, findings);
    EXPECT_THAT(findings,
                ElementsAre(What("the machine's clock is behind " + Path("lib/libkxepinfo.so"))));
}

TEST_F(Checks, TellWhoIsNotOnTheBus) {
    Findings findings;
    kxectl::JudgeListener("agt_ei", {0, 1, 0}, findings);
    EXPECT_THAT(findings, IsEmpty());
    kxectl::JudgeListener("agt_ei", {ENOENT, 0, 0}, findings);
    kxectl::JudgeListener("mgr_ei", {ECONNREFUSED, 0, 0}, findings);
    kxectl::JudgeListener("agt_cfgc", {EACCES, 0, 0}, findings);
    EXPECT_THAT(findings,
                ElementsAre(What("nobody answers on the bus as agt_ei"),
                            What("nobody answers on the bus as mgr_ei"),
                            What("agt_cfgc cannot be reached on the bus: Permission denied")));
}

TEST_F(Checks, ShowEachFindingInThreeLinesThatNoNameForges) {
    EXPECT_EQ(kxectl::FindingsForPeople({}), "nothing found\n");
    EXPECT_EQ(kxectl::FindingsForPeople({{"a\nb", "why", "do"}, {"c", "d", "e"}}),
              "1. a\\x0Ab\n   matters: why\n   to do:   do\n"
              "2. c\n   matters: d\n   to do:   e\n");
}

TEST_F(Checks, ShowFindingsAsJson) {
    EXPECT_EQ(kxectl::FindingsAsJson({}), "{\n  \"findings\": []\n}\n");
    EXPECT_EQ(kxectl::FindingsAsJson({{"a\n", "b", "c"}}),
              "{\n  \"findings\": [\n    {\n      \"what\": \"a\\n\",\n      \"why\": \"b\",\n"
              "      \"remedy\": \"c\"\n    }\n  ]\n}\n");
}
