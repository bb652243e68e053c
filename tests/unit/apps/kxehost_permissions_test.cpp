#include "kxehost/permissions.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "common/permissions.h"
#include "installation.h"

namespace fs = std::filesystem;

using kxapp::Stranger;
using kxapp::WhoElseWrites;
using kxapp::WhoElseWritesToBus;
using testing::HasSubstr;

namespace {

constexpr uid_t kRoot = 0;
constexpr uid_t kAgent = 500;
constexpr uid_t kOther = 1000;

struct Row {
    mode_t mode;
    uid_t owner;
    uid_t user;
    Stranger anywhere;
    Stranger on_bus;
};

class Decision : public testing::TestWithParam<Row> {};

std::size_t LineCount(const std::string& text) {
    return static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
}

// An installation as it should be, in the test's own, that every test spoils.
class Permissions : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        umask(022);
        kxtest::WriteFile("lib/libkxepinfo.so", "");
        kxtest::WriteFile("config/server.ini", "");
        kxtest::WriteFile("var/run/ipc/agt_ei.lock", "");
        kxtest::WriteFile("var/log/agent/kxepinfo/kxepinfo.log", "");
    }

    static std::string Complaints() {
        testing::internal::CaptureStderr();
        kxehost::ComplainOfPermissions(kxtest::InstallationRoot());
        return testing::internal::GetCapturedStderr();
    }

    static void SetMode(const std::string& relative, mode_t mode) {
        ASSERT_EQ(chmod((kxtest::InstallationRoot() / relative).c_str(), mode), 0);
    }

    static std::string Line(const std::string& relative, const std::string& who,
                            const std::string& mode, uid_t owner) {
        return std::string(program_invocation_short_name) + ": " +
               (kxtest::InstallationRoot() / relative).string() + " can be changed by " + who +
               " (mode " + mode + ", owner " + std::to_string(owner) + "): see SECURITY.md\n";
    }
};

}  // namespace

TEST_P(Decision, TellsWhoElse) {
    const Row& row = GetParam();
    EXPECT_EQ(WhoElseWrites(row.mode, row.owner, row.user), row.anywhere);
    EXPECT_EQ(WhoElseWritesToBus(row.mode, row.owner, row.user), row.on_bus);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, Decision,
    testing::Values(Row{S_IFREG | 0644, kRoot, kRoot, Stranger::kNobody, Stranger::kNobody},
                    Row{S_IFDIR | 0755, kRoot, kRoot, Stranger::kNobody, Stranger::kNobody},
                    Row{S_IFREG | 0644, kRoot, kAgent, Stranger::kNobody, Stranger::kNobody},
                    Row{S_IFREG | 0640, kAgent, kAgent, Stranger::kNobody, Stranger::kNobody},
                    Row{S_IFREG | 0444, kOther, kAgent, Stranger::kOwner, Stranger::kOwner},
                    Row{S_IFREG | 0600, kOther, kRoot, Stranger::kOwner, Stranger::kOwner},
                    Row{S_IFREG | 0600, kAgent, kRoot, Stranger::kOwner, Stranger::kOwner},
                    Row{S_IFREG | 0664, kRoot, kRoot, Stranger::kGroup, Stranger::kNobody},
                    Row{S_IFDIR | 01770, kRoot, kRoot, Stranger::kGroup, Stranger::kNobody},
                    Row{S_IFDIR | 02775, kAgent, kAgent, Stranger::kGroup, Stranger::kNobody},
                    Row{S_IFDIR | 0770, kOther, kAgent, Stranger::kGroup, Stranger::kOwner},
                    Row{S_IFREG | 0666, kRoot, kRoot, Stranger::kEverybody, Stranger::kEverybody},
                    Row{S_IFREG | 0602, kRoot, kRoot, Stranger::kEverybody, Stranger::kEverybody},
                    Row{S_IFDIR | 01777, kRoot, kRoot, Stranger::kEverybody, Stranger::kEverybody},
                    Row{S_IFDIR | 0777, kOther, kAgent, Stranger::kEverybody,
                        Stranger::kEverybody}));

TEST_F(Permissions, AsTheyShouldBeAreNotWorthALine) {
    EXPECT_EQ(Complaints(), "");
}

TEST_F(Permissions, OfAFileInEachDirectoryCount) {
    for (const char* const file :
         {"lib/libkxepinfo.so", "config/server.ini", "var/log/agent/kxepinfo/kxepinfo.log"}) {
        SetMode(file, 0666);
        EXPECT_EQ(Complaints(), Line(file, "everybody", "0666", geteuid()));
        SetMode(file, 0644);
    }
    kxtest::WriteFile("bin/resmon_export.sh", "");
    SetMode("bin/resmon_export.sh", 0775);
    EXPECT_EQ(Complaints(), Line("bin/resmon_export.sh", "its group", "0775", geteuid()));
}

TEST_F(Permissions, OfADirectoryStandForAllThatIsInIt) {
    for (const std::string directory : {"config", "lib", "bin", "var", "var/log"}) {
        const std::string file = directory + "/file";
        kxtest::WriteFile(file, "");
        SetMode(file, 0666);
        SetMode(directory, 0777);
        EXPECT_EQ(Complaints(), Line(directory, "everybody", "0777", geteuid()));
        SetMode(file, 0644);
        SetMode(directory, 0755);
    }
}

TEST_F(Permissions, OfTheRootStandForTheWholeInstallation) {
    SetMode("config", 0777);
    ASSERT_EQ(chmod(kxtest::InstallationRoot().c_str(), 0777), 0);
    const std::string complaints = Complaints();
    ASSERT_EQ(chmod(kxtest::InstallationRoot().c_str(), 0700), 0);
    EXPECT_EQ(LineCount(complaints), 1U) << complaints;
    EXPECT_THAT(complaints, HasSubstr(kxtest::InstallationRoot().string() + " can be changed by"));
}

TEST_F(Permissions, OfAnotherOwnerCount) {
    const fs::path file = kxtest::InstallationRoot() / "config/server.ini";
    if (chown(file.c_str(), kOther, static_cast<gid_t>(-1)) != 0) {
        GTEST_SKIP() << "giving files away needs root";
    }
    EXPECT_EQ(Complaints(), Line("config/server.ini", "its owner", "0644", kOther));
}

TEST_F(Permissions, OfTheBusMayLetItsGroupIn) {
    SetMode("var/run/ipc/agt_ei.lock", 0666);  // behind the directory's rights
    SetMode("var/run/ipc", 01770);
    EXPECT_EQ(Complaints(), "");
    SetMode("var/run/ipc", 01777);
    EXPECT_EQ(Complaints(), Line("var/run/ipc", "everybody", "1777", geteuid()));
}

TEST_F(Permissions, OfALinkAreThoseOfWhatItLeadsTo) {
    const fs::path elsewhere = kxtest::WriteFile("elsewhere", "");
    fs::create_symlink(elsewhere, kxtest::InstallationRoot() / "config/ipc.ini");
    fs::create_symlink("nowhere", kxtest::InstallationRoot() / "config/dangling");
    EXPECT_EQ(Complaints(), "");
    SetMode("elsewhere", 0666);
    EXPECT_EQ(Complaints(), Line("config/ipc.ini", "everybody", "0666", geteuid()));
}

TEST_F(Permissions, OfWhatIsMissingAreNotWorthALine) {
    fs::remove_all(kxtest::InstallationRoot() / "config");
    fs::remove_all(kxtest::InstallationRoot() / "var");
    EXPECT_EQ(Complaints(), "");
}

TEST_F(Permissions, OfVeryManyFilesAreNotToldForEach) {
    for (std::size_t i = 0; i < kxehost::kMostComplaints + 5; ++i) {
        const std::string file = "config/" + std::to_string(i);
        kxtest::WriteFile(file, "");
        SetMode(file, 0666);
    }
    const std::string complaints = Complaints();
    EXPECT_EQ(LineCount(complaints), kxehost::kMostComplaints + 1) << complaints;
    EXPECT_THAT(complaints, testing::EndsWith("more files can be changed by others: see "
                                              "SECURITY.md\n"));
}
