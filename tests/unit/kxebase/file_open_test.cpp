// kxe_file_open.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

#include "installation.h"
#include "kxe_base.h"

namespace {

struct CloseFile {
    void operator()(FILE* file) const { (void)std::fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

File Open(const std::string& path, const char* mode) {
    return File(kxe_file_open(path.c_str(), mode));
}

}  // namespace

using FileOpen = kxtest::InstallationTest;

TEST_F(FileOpen, ExpandsTheAt) {
    kxtest::WriteFile("config/machineid", "0123456789");
    const File file = Open("@/../config/machineid", "rb");
    ASSERT_NE(file, nullptr);
    char text[16] = {};
    EXPECT_EQ(std::fread(text, 1, sizeof text, file.get()), 10U);
    EXPECT_STREQ(text, "0123456789");
}

TEST_F(FileOpen, TakesOtherPathsAsTheyAre) {
    const auto path = kxtest::WriteFile("x", "");
    EXPECT_NE(Open(path, "r"), nullptr);
}

TEST_F(FileOpen, CreatesWithTheModesOfFopen) {
    File file = Open("@/../new", "w+");
    ASSERT_NE(file, nullptr);
    EXPECT_GE(std::fputs("new", file.get()), 0);
    file.reset();
    EXPECT_EQ(kxtest::ReadFile(kxtest::InstallationRoot() / "new"), "new");
}

TEST_F(FileOpen, AppendsWithTheModesOfFopen) {
    const auto path = kxtest::WriteFile("x", "one");
    File file = Open(path, "a");
    ASSERT_NE(file, nullptr);
    EXPECT_GE(std::fputs(" two", file.get()), 0);
    file.reset();
    EXPECT_EQ(kxtest::ReadFile(path), "one two");
}

TEST_F(FileOpen, ClosesTheDescriptorOnExec) {
    const auto path = kxtest::WriteFile("x", "");
    for (const char* const mode : {"r", "rb", "w+", "a", "re"}) {
        const File file = Open(path, mode);
        ASSERT_NE(file, nullptr) << mode;
        EXPECT_EQ(fcntl(fileno(file.get()), F_GETFD), FD_CLOEXEC) << mode;
    }
}

TEST_F(FileOpen, DoesNotWaitForThePipesWriter) {
    const auto path = kxtest::InstallationRoot() / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    const File file = Open(path, "rb");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
    EXPECT_NE(std::fseek(file.get(), 0, SEEK_END), 0);
}

TEST_F(FileOpen, ReadsAPipeLikeAnyOther) {
    const auto path = kxtest::InstallationRoot() / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), S_IRUSR | S_IWUSR), 0);
    const File file = Open(path, "r");
    ASSERT_NE(file, nullptr);
    const File writer = Open(path, "w");
    ASSERT_NE(writer, nullptr);
    EXPECT_EQ(fcntl(fileno(file.get()), F_GETFL) & O_NONBLOCK, 0);
    EXPECT_GE(std::fputs("x", writer.get()), 0);
    EXPECT_EQ(std::fflush(writer.get()), 0);
    EXPECT_EQ(std::fgetc(file.get()), 'x');
}

TEST_F(FileOpen, TellsWhyItFailed) {
    errno = 0;
    EXPECT_EQ(Open("@/../none", "r"), nullptr);
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileOpen, RefusesUnusableArguments) {
    for (const char* const mode : {"", "x", "longer than any mode"}) {
        errno = 0;
        EXPECT_EQ(Open("@/../none", mode), nullptr) << mode;
        EXPECT_EQ(errno, EINVAL) << mode;
    }
    errno = 0;
    EXPECT_EQ(kxe_file_open(nullptr, "r"), nullptr);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(kxe_file_open("@", nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
}

TEST_F(FileOpen, RefusesAPathThatWouldBeCut) {
    errno = 0;
    EXPECT_EQ(Open("@/" + std::string(4090, 'x'), "w"), nullptr);
    EXPECT_EQ(errno, ENAMETOOLONG);
}
