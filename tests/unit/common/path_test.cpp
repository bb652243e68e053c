#include "common/path.h"

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>

#include "installation.h"

namespace fs = std::filesystem;

namespace {

std::atomic<bool> hide_executable{false};

std::string Expand(const char* in) {
    char out[kPathSize] = {};
    ep_dirutils_path_transform(in, out, sizeof out);
    return out;
}

std::string Directory() {
    return (kxtest::InstallationRoot() / "bin").string();
}

}  // namespace

// In front of the C library's, to make /proc/self/exe unreadable.
extern "C" ssize_t readlink(const char* path, char* buffer, size_t size) {
    if (hide_executable) {
        errno = EACCES;
        return -1;
    }
    static const auto next =
        reinterpret_cast<ssize_t (*)(const char*, char*, size_t)>(dlsym(RTLD_NEXT, "readlink"));
    return next(path, buffer, size);
}

TEST(PathTransform, LoneAtIsTheDirectoryOfTheExecutable) {
    EXPECT_EQ(Expand("@"), Directory());
}

TEST(PathTransform, AtIsReplacedByTheDirectoryOfTheExecutable) {
    EXPECT_EQ(Expand("@/../config/x.ini"), Directory() + "/../config/x.ini");
}

TEST(PathTransform, OnlyALeadingAtCounts) {
    EXPECT_EQ(Expand("a@b"), "a@b");
}

TEST(PathTransform, OtherPathsComeBackUnchanged) {
    EXPECT_EQ(Expand("relative/x"), "relative/x");
    EXPECT_EQ(Expand("/abs/x"), "/abs/x");
    EXPECT_EQ(Expand(""), "");
}

TEST(PathTransform, LongOutputIsCut) {
    char out[8] = "1234567";
    ep_dirutils_path_transform("/abs/long/path", out, sizeof out);
    EXPECT_STREQ(out, "/abs/lo");
}

TEST(PathTransform, WithoutTheLinkTheRootStandsForTheDirectory) {
    hide_executable = true;
    std::string expanded;
    std::thread([&] { expanded = Expand("@/x"); }).join();  // the directory is kept for each thread
    hide_executable = false;
    EXPECT_EQ(expanded, "//x");
}

using Mkdir = kxtest::InstallationTest;

TEST_F(Mkdir, CreatesMissingParentsAndDropsATrailingSeparator) {
    const fs::path root = kxtest::InstallationRoot();
    EXPECT_EQ(epdirutils_mkdir((root / "a/b/c/").c_str(), 0755), 0);
    struct stat status {};
    for (const char* name : {"a", "a/b", "a/b/c"}) {
        ASSERT_EQ(stat((root / name).c_str(), &status), 0) << name;
        EXPECT_TRUE(S_ISDIR(status.st_mode)) << name;
        EXPECT_EQ(status.st_mode & 0777U, 0755U) << name;
    }
}

TEST_F(Mkdir, LeavesAnExistingDirectoryAsItIs) {
    const fs::path directory = kxtest::InstallationRoot() / "there";
    ASSERT_EQ(mkdir(directory.c_str(), 0700), 0);
    EXPECT_EQ(epdirutils_mkdir(directory.c_str(), 0755), 0);
    EXPECT_EQ(fs::status(directory).permissions(), fs::perms::owner_all);
}

TEST_F(Mkdir, ABackslashSeparatesToo) {
    const fs::path root = kxtest::InstallationRoot();
    EXPECT_EQ(epdirutils_mkdir((root / "p/q\\r").c_str(), 0755), 0);
    EXPECT_TRUE(fs::is_directory(root / "p/q"));
    EXPECT_TRUE(fs::is_directory(root / "p/q\\r"));
}

TEST_F(Mkdir, FailsWhenAParentIsAFile) {
    const fs::path file = kxtest::WriteFile("file", "");
    EXPECT_EQ(epdirutils_mkdir((file / "x").c_str(), 0755), -1);
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(Mkdir, FailsWhenAParentCannotBeCreated) {
    EXPECT_EQ(epdirutils_mkdir("/proc/none/a/b", 0755), -1);
}

TEST_F(Mkdir, WalksAtMostTheBufferOfALongPath) {
    const std::string path = kxtest::InstallationRoot().string() + "/" + std::string(5000, 'x');
    EXPECT_EQ(epdirutils_mkdir(path.c_str(), 0755), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
}
