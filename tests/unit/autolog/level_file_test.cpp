// The level that an operator sets.
#include "level_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <string>

#include "fake_system.h"
#include "installation.h"

namespace {

using autolog::LevelFile;
using autolog::LevelIn;
using namespace std::chrono_literals;

constexpr char kFile[] = "config/log/agent/kxepinfo/agent/log.ini";

}  // namespace

TEST(LevelIn, TakesTheKeyOfTheSection) {
    for (int level = 1; level <= 4; ++level) {
        EXPECT_EQ(LevelIn("[log]\nlevel=" + std::to_string(level) + "\n"), level);
    }
}

TEST(LevelIn, IsThreeWithoutTheKey) {
    EXPECT_EQ(LevelIn(""), 3);
    EXPECT_EQ(LevelIn("[log]\n"), 3);
    EXPECT_EQ(LevelIn("level=4\n"), 3);
    EXPECT_EQ(LevelIn("[other]\nlevel=4\n"), 3);
    EXPECT_EQ(LevelIn("[log]\n[other]\nlevel=4\n"), 3);
    EXPECT_EQ(LevelIn("[log]\nLevel=4\n"), 3);
    EXPECT_EQ(LevelIn("[Log]\nlevel=4\n"), 3);
    EXPECT_EQ(LevelIn("[log]\nlevel\n"), 3);
}

TEST(LevelIn, IsThreeForAnyOtherValue) {
    for (const char* const value : {"", "0", "5", "-1", "44", "4x", "debug", "=4", "\x80"}) {
        EXPECT_EQ(LevelIn(std::string("[log]\nlevel=") + value + "\n"), 3) << value;
    }
}

TEST(LevelIn, BlanksAndLineEndsDoNotCount) {
    EXPECT_EQ(LevelIn("\xEF\xBB\xBF [ log ] \r\n\t level\t= 4 \r\n"), 4);
    EXPECT_EQ(LevelIn("[log]\nlevel=4"), 4);
}

TEST(LevelIn, CommentsDoNotCount) {
    EXPECT_EQ(LevelIn("; [x]\n[log] ; the log\n;level=1\n#level=2\nlevel=4\n; level=1\n"), 4);
}

TEST(LevelIn, TheLastValueCounts) {
    EXPECT_EQ(LevelIn("[log]\nlevel=4\nlevel=2\n"), 2);
    EXPECT_EQ(LevelIn("[log]\nlevel=4\n[x]\n[log]\nlevel=1\n"), 1);
}

TEST(LevelIn, ABrokenSectionLineChangesNothing) {
    EXPECT_EQ(LevelIn("[log]\n[other\nlevel=4\n"), 4);
    EXPECT_EQ(LevelIn("[log\nlevel=4\n"), 3);
}

using LevelFileTest = kxtest::InstallationTest;

TEST_F(LevelFileTest, IsInTheConfiguration) {
    LevelFile file;
    EXPECT_EQ(file.Look(), 3);
    kxtest::WriteFile(kFile, "[log]\nlevel=4\n");
    EXPECT_EQ(file.Look(), 4);
}

TEST_F(LevelFileTest, AChangeIsSeenAlsoWithinOneTickOfTheClock) {
    LevelFile file;
    for (const char* const digit : {"1", "2", "4", "1"}) {
        kxtest::WriteFile(kFile, std::string("[log]\nlevel=") + digit + "\n");
        EXPECT_EQ(file.Look(), digit[0] - '0');
    }
}

TEST_F(LevelFileTest, AnUnchangedFileIsNotReadAgain) {
    kxtest::WriteFile(kFile, "[log]\nlevel=4\n");
    PassTime(10s);
    LevelFile file;
    EXPECT_EQ(file.Look(), 4);
    const int openings = Openings();
    const int looks = StatusLooks();
    EXPECT_EQ(file.Look(), 4);
    EXPECT_EQ(file.Look(), 4);
    EXPECT_EQ(Openings(), openings);
    EXPECT_EQ(StatusLooks(), looks + 2);
}

TEST_F(LevelFileTest, AChangedFileIsReadAgain) {
    kxtest::WriteFile(kFile, "[log]\nlevel=4\n");
    PassTime(10s);
    LevelFile file;
    EXPECT_EQ(file.Look(), 4);
    kxtest::WriteFile(kFile, "[log]\nlevel = 2\n");
    EXPECT_EQ(file.Look(), 2);
}

TEST_F(LevelFileTest, WithoutTheFileItIsThreeAgain) {
    const auto path = kxtest::WriteFile(kFile, "[log]\nlevel=4\n");
    LevelFile file;
    EXPECT_EQ(file.Look(), 4);
    std::filesystem::remove(path);
    EXPECT_EQ(file.Look(), 3);
}

TEST_F(LevelFileTest, OnlyARegularFileIsRead) {
    const auto path = kxtest::InstallationRoot() / kFile;
    std::filesystem::create_directories(path);
    EXPECT_EQ(LevelFile().Look(), 3);
    std::filesystem::remove(path);
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(LevelFile().Look(), 3);
}

TEST_F(LevelFileTest, AFileOver64KiBIsNotRead) {
    const std::string beginning = "[log]\nlevel=4\n;";
    kxtest::WriteFile(kFile, beginning + std::string(65536 - beginning.size(), 'x'));
    EXPECT_EQ(LevelFile().Look(), 4);
    kxtest::WriteFile(kFile, beginning + std::string(65537 - beginning.size(), 'x'));
    EXPECT_EQ(LevelFile().Look(), 3);
}
