#include "common/path.h"

#include <dlfcn.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "installation.h"

namespace fs = std::filesystem;
using ::testing::ElementsAre;

namespace {

std::atomic<bool> hide_executable{false};
std::atomic<const char*> executable{nullptr};  // where the link leads instead

// While it is set, nothing exists and this answers mkdir: 0 or an errno, of the call counted from
// 0.
std::function<int(std::size_t call)> answer_mkdir;
std::vector<std::string> asked_to_make;

std::string Expand(const char* in) {
    char out[kPathSize] = {};
    ep_dirutils_path_transform(in, out, sizeof out);
    return out;
}

// The directory is kept for each thread: what a new one finds.
std::string ExpandInNewThread(const char* in) {
    std::string expanded;
    std::thread([&] { expanded = Expand(in); }).join();
    return expanded;
}

std::string Directory() {
    return (kxtest::InstallationRoot() / "bin").string();
}

}  // namespace

// In front of the C library's, to make /proc/self/exe unreadable or lead elsewhere.
extern "C" ssize_t readlink(const char* path, char* buffer, size_t size) {
    if (hide_executable) {
        errno = EACCES;
        return -1;
    }
    if (const char* const other = executable) {
        return static_cast<ssize_t>(std::string_view(other).copy(buffer, size));
    }
    static const auto next =
        reinterpret_cast<ssize_t (*)(const char*, char*, size_t)>(dlsym(RTLD_NEXT, "readlink"));
    return next(path, buffer, size);
}

// In front of the C library's, for what a real file system answers only in a race.
extern "C" int mkdir(const char* path, mode_t mode) {
    if (answer_mkdir) {
        asked_to_make.emplace_back(path);
        errno = answer_mkdir(asked_to_make.size() - 1);
        return errno == 0 ? 0 : -1;
    }
    static const auto next =
        reinterpret_cast<int (*)(const char*, mode_t)>(dlsym(RTLD_NEXT, "mkdir"));
    return next(path, mode);
}

extern "C" int access(const char* path, int how) {
    if (answer_mkdir) {
        errno = ENOENT;
        return -1;
    }
    static const auto next =
        reinterpret_cast<int (*)(const char*, int)>(dlsym(RTLD_NEXT, "access"));
    return next(path, how);
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
    EXPECT_EQ(ExpandInNewThread("@/x"), "//x");
    hide_executable = false;
}

TEST(PathTransform, ALinkWithoutASlashStandsForTheRootToo) {
    executable = "kxehost";
    EXPECT_EQ(ExpandInNewThread("@/x"), "//x");
    executable = nullptr;
}

TEST(PathTransform, LooksForTheDirectoryOnceInAThread) {
    const std::string found = Expand("@");
    hide_executable = true;
    EXPECT_EQ(Expand("@"), found);
    hide_executable = false;
    EXPECT_EQ(found, Directory());
}

using Mkdir = kxtest::InstallationTest;

TEST_F(Mkdir, MakesRelativePathsBelowTheWorkingDirectory) {
    const fs::path before = fs::current_path();
    fs::current_path(kxtest::InstallationRoot());
    EXPECT_EQ(epdirutils_mkdir("r/s/t/", 0755), 0);
    fs::current_path(before);
    EXPECT_TRUE(fs::is_directory(kxtest::InstallationRoot() / "r/s/t"));
}

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

TEST_F(Mkdir, FailsWhenTheNameIsTooLongForTheFileSystem) {
    const std::string path = kxtest::InstallationRoot().string() + "/" + std::string(5000, 'x');
    EXPECT_EQ(epdirutils_mkdir(path.c_str(), 0755), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
}

namespace {

// The calls of mkdir are answered with these in turn.
class MkdirAnswered : public ::testing::Test {
  protected:
    void TearDown() override {
        answer_mkdir = nullptr;
        asked_to_make.clear();
    }

    static void Answer(const std::vector<int>& errors) {
        answer_mkdir = [errors](std::size_t call) {
            EXPECT_LT(call, errors.size()) << "one mkdir too many";
            return call < errors.size() ? errors[call] : EIO;
        };
    }
};

}  // namespace

TEST_F(MkdirAnswered, SomebodyElsesDirectoryIsAsGood) {
    Answer({EEXIST});
    EXPECT_EQ(epdirutils_mkdir("/a/b", 0755), 0);
    EXPECT_THAT(asked_to_make, ElementsAre("/a/b"));
}

TEST_F(MkdirAnswered, AnythingButAMissingParentEndsItAtOnce) {
    Answer({EACCES});
    EXPECT_EQ(epdirutils_mkdir("/a/b", 0755), -1);
    EXPECT_EQ(errno, EACCES);
    EXPECT_THAT(asked_to_make, ElementsAre("/a/b"));
}

TEST_F(MkdirAnswered, MissingParentsAreMadeFromTheTopDown) {
    Answer({ENOENT, 0, 0, 0});
    EXPECT_EQ(epdirutils_mkdir("/a/b/c", 0755), 0);
    EXPECT_THAT(asked_to_make, ElementsAre("/a/b/c", "/a", "/a/b", "/a/b/c"));
}

TEST_F(MkdirAnswered, AParentSomebodyElseMadeDoesNotStopIt) {
    Answer({ENOENT, EEXIST, 0, 0});
    EXPECT_EQ(epdirutils_mkdir("/a/b/c", 0755), 0);
    EXPECT_THAT(asked_to_make, ElementsAre("/a/b/c", "/a", "/a/b", "/a/b/c"));
}

TEST_F(MkdirAnswered, AParentThatCannotBeMadeEndsIt) {
    Answer({ENOENT, 0, ENOSPC});
    EXPECT_EQ(epdirutils_mkdir("/a/b/c", 0755), -1);
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_THAT(asked_to_make, ElementsAre("/a/b/c", "/a", "/a/b"));
}

TEST_F(MkdirAnswered, SomebodyElsesDirectoryIsAsGoodAfterTheParentsToo) {
    Answer({ENOENT, 0, EEXIST});
    EXPECT_EQ(epdirutils_mkdir("/a/b", 0755), 0);
    EXPECT_THAT(asked_to_make, ElementsAre("/a/b", "/a", "/a/b"));
}

TEST_F(MkdirAnswered, FailsWhenTheDirectoryCannotBeMadeAfterItsParents) {
    Answer({ENOENT, 0, EROFS});
    EXPECT_EQ(epdirutils_mkdir("/a/b", 0755), -1);
    EXPECT_EQ(errno, EROFS);
    EXPECT_THAT(asked_to_make, ElementsAre("/a/b", "/a", "/a/b"));
}

TEST_F(MkdirAnswered, WalksAtMost4095CharactersOfALongPath) {
    // Separators are the first character, the last one looked at, and the one behind it.
    const std::string parent = "/" + std::string(4093, 'x');
    const std::string path = parent + "//y/z";
    Answer({ENOENT, 0, ENAMETOOLONG});
    EXPECT_EQ(epdirutils_mkdir(path.c_str(), 0755), -1);
    EXPECT_EQ(errno, ENAMETOOLONG);
    EXPECT_THAT(asked_to_make, ElementsAre(path, parent, path));
}
