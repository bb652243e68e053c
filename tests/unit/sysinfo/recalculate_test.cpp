#include <fcntl.h>

#include <cerrno>
#include <filesystem>

#include "collectors/sysinfo.h"
#include "sysinfo_fixture.h"

namespace fs = std::filesystem;
using kxtest::LoggedLines;
using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

using RecalculateTimestamp = SysInfoTest;

constexpr char kFlag[] = "config/recalculate_agentid";

}  // namespace

TEST_F(RecalculateTimestamp, IsZeroWithoutTheFlag) {
    EXPECT_EQ(GetRecalculateTimestamp(), 0U);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(RecalculateTimestamp, IsTheStatusChangeTimeNotThatOfTheContent) {
    const fs::path flag = kxtest::WriteFile(kFlag, "");
    const timespec long_ago[2] = {{1000, 0}, {1000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, flag.c_str(), long_ago, 0), 0);
    struct stat status {};
    ASSERT_EQ(stat(flag.c_str(), &status), 0);
    ASSERT_EQ(status.st_mtime, 1000);
    EXPECT_GT(status.st_ctime, 1000);
    EXPECT_EQ(GetRecalculateTimestamp(), static_cast<uint64_t>(status.st_ctime));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(RecalculateTimestamp, ADirectoryIsAFlagToo) {
    fs::create_directories(kxtest::InstallationRoot() / kFlag);
    EXPECT_GT(GetRecalculateTimestamp(), 0U);
}

TEST_F(RecalculateTimestamp, ALinkThatLeadsNowhereIsNoFlag) {
    fs::create_directories(kxtest::InstallationRoot() / "config");
    fs::create_symlink("nowhere", kxtest::InstallationRoot() / kFlag);
    EXPECT_EQ(GetRecalculateTimestamp(), 0U);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(RecalculateTimestamp, AFlagThatCannotBeLookedAtIsToldOf) {
    kxtest::WriteFile(kFlag, "");
    std::string path;
    Machine().stat = [&](const char* asked, struct stat*) {
        path = asked;
        errno = EACCES;
        return -1;
    };
    EXPECT_EQ(GetRecalculateTimestamp(), 0U);
    EXPECT_EQ(path, Expanded("../config/recalculate_agentid"));
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{2, "sysinfo", "fail to stat : " + path}));
}
