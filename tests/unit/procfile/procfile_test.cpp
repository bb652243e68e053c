#include "collectors/procfile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>

#include "installation.h"

using ProcFile = kxtest::InstallationTest;

TEST_F(ProcFile, IsReadFromItsBeginning) {
    const File file = OpenForReading(kxtest::WriteFile("text", "abc").c_str());
    ASSERT_NE(file, nullptr);
    char text[8] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, file.get()), 3U);
    EXPECT_STREQ(text, "abc");
}

TEST_F(ProcFile, IsNotInheritedByChildProcesses) {
    const File file = OpenForReading(kxtest::WriteFile("text", "").c_str());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(fcntl(fileno(file.get()), F_GETFD), FD_CLOEXEC);
}

TEST_F(ProcFile, OfTheKernelIsReadLikeAnyOther) {
    const File file = OpenForReading("/proc/meminfo");
    ASSERT_NE(file, nullptr);
    char text[16] = {};
    EXPECT_NE(std::fgets(text, sizeof text, file.get()), nullptr);
    EXPECT_EQ(std::string(text).substr(0, 9), "MemTotal:");
}

TEST_F(ProcFile, ThatIsMissingIsNullAndTellsWhy) {
    errno = 0;
    EXPECT_EQ(OpenForReading((kxtest::InstallationRoot() / "missing").c_str()), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(ProcFile, WithADirectoryInItsPlaceCannotBeRead) {
    const File file = OpenForReading(kxtest::InstallationRoot().c_str());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
    EXPECT_NE(std::ferror(file.get()), 0);
}

TEST_F(ProcFile, WithAPipeInItsPlaceIsEmptyInsteadOfWaitedFor) {
    const auto path = kxtest::InstallationRoot() / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const File file = OpenForReading(path.c_str());
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
}
