// The named lock inside one process.
#include "glock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <set>
#include <string>

#include "installation.h"
#include "kxe_glock.h"
#include "lock_handle.h"

namespace fs = std::filesystem;

namespace {

constexpr char kName[] = "Global\\{C9580F9C-A601-4300-879D-F54133492687}";
constexpr char kFile[] = "Global%5C%7BC9580F9C-A601-4300-879D-F54133492687%7D.lock";
constexpr unsigned kLongMs = 60000;  // a guard against hanging, never waited for

fs::path LockDirectory() {
    return kxtest::InstallationRoot() / "var/run/lock";
}

unsigned Mode(const fs::path& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 07777;
}

}  // namespace

TEST(LockFileName, HarmlessCharactersStandForThemselves) {
    EXPECT_EQ(kxebase::LockFileName("aZ09-_.x"), "aZ09-_.x.lock");
}

TEST(LockFileName, EveryOtherByteIsEncoded) {
    EXPECT_EQ(kxebase::LockFileName(kName), kFile);
    EXPECT_EQ(kxebase::LockFileName("a/b%\xFF \n"), "a%2Fb%25%FF%20%0A.lock");
}

TEST(LockFileName, NoFileIsHiddenAndNoDirectoryIsNamed) {
    EXPECT_EQ(kxebase::LockFileName("."), "%2E.lock");
    EXPECT_EQ(kxebase::LockFileName(".."), "%2E..lock");
}

TEST(LockFileName, DifferentNamesGiveDifferentFiles) {
    const std::set<std::string> files = {
        kxebase::LockFileName("a/b"), kxebase::LockFileName("a_b"), kxebase::LockFileName("a%2Fb"),
        kxebase::LockFileName("A/b"), kxebase::LockFileName("a/b.lock")};
    EXPECT_EQ(files.size(), 5U);
}

TEST(LockFileName, IsAtMostAFileName) {
    EXPECT_EQ(kxebase::LockFileName(std::string(250, 'a')).size(), 255U);
    EXPECT_EQ(kxebase::LockFileName(std::string(251, 'a')), "");
    EXPECT_EQ(kxebase::LockFileName(std::string(84, '/')), "");
    EXPECT_EQ(kxebase::LockFileName(""), "");
}

using Glock = kxtest::InstallationTest;

TEST_F(Glock, IsAFileOfTheInstallation) {
    const LockHandle lock(kName);
    EXPECT_TRUE(fs::is_regular_file(LockDirectory() / kFile));
    EXPECT_EQ(Mode(LockDirectory()), 0750U);
    EXPECT_EQ(Mode(LockDirectory() / kFile), 0640U);
}

TEST_F(Glock, ExcludesOtherHandlesOfTheName) {
    const LockHandle first(kName);
    const LockHandle second(kName);
    EXPECT_EQ(kxe_glock_acquire_timeout(first.Get(), kLongMs), 0);
    EXPECT_EQ(kxe_glock_acquire_timeout(second.Get(), 0), ETIMEDOUT);
    kxe_glock_release(first.Get());
    EXPECT_EQ(kxe_glock_acquire_timeout(second.Get(), kLongMs), 0);
    EXPECT_EQ(kxe_glock_acquire_timeout(first.Get(), 0), ETIMEDOUT);
}

TEST_F(Glock, NamesDoNotExcludeEachOther) {
    const LockHandle first("a/b");
    const LockHandle second("a_b");
    EXPECT_EQ(kxe_glock_acquire_timeout(first.Get(), 0), 0);
    EXPECT_EQ(kxe_glock_acquire_timeout(second.Get(), 0), 0);
}

TEST_F(Glock, WaitsForTheWholeTime) {
    const LockHandle first(kName);
    const LockHandle second(kName);
    ASSERT_EQ(kxe_glock_acquire_timeout(first.Get(), kLongMs), 0);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(kxe_glock_acquire_timeout(second.Get(), 120), ETIMEDOUT);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(120));
}

TEST_F(Glock, CanBeAcquiredAfterATimeOut) {
    const LockHandle first(kName);
    const LockHandle second(kName);
    ASSERT_EQ(kxe_glock_acquire_timeout(first.Get(), 0), 0);
    ASSERT_EQ(kxe_glock_acquire_timeout(second.Get(), 5), ETIMEDOUT);
    kxe_glock_release(first.Get());
    EXPECT_EQ(kxe_glock_acquire_timeout(second.Get(), 0), 0);
}

TEST_F(Glock, IsNotRecursive) {
    const LockHandle lock(kName);
    EXPECT_EQ(kxe_glock_acquire_timeout(lock.Get(), 0), 0);
    EXPECT_EQ(kxe_glock_acquire_timeout(lock.Get(), kLongMs), EDEADLK);
    kxe_glock_release(lock.Get());
    EXPECT_EQ(kxe_glock_acquire_timeout(lock.Get(), 0), 0);
}

TEST_F(Glock, ReleaseIsHarmlessWhenItIsNotHeld) {
    const LockHandle first(kName);
    const LockHandle second(kName);
    kxe_glock_release(first.Get());
    ASSERT_EQ(kxe_glock_acquire_timeout(first.Get(), 0), 0);
    ASSERT_EQ(kxe_glock_acquire_timeout(second.Get(), 0), ETIMEDOUT);
    kxe_glock_release(second.Get());
    EXPECT_EQ(kxe_glock_acquire_timeout(second.Get(), 0), ETIMEDOUT);
}

TEST_F(Glock, DestroyReleases) {
    LockHandle first(kName);
    const LockHandle second(kName);
    ASSERT_EQ(kxe_glock_acquire_timeout(first.Get(), 0), 0);
    first.Reset();
    EXPECT_EQ(kxe_glock_acquire_timeout(second.Get(), 0), 0);
}

TEST_F(Glock, NullIsHarmless) {
    kxe_glock_release(nullptr);
    kxe_glock_destroy(nullptr);
    EXPECT_EQ(kxe_glock_acquire_timeout(nullptr, 0), EINVAL);
    EXPECT_EQ(kxe_glock_init(kName, nullptr), EINVAL);
}

TEST_F(Glock, RefusesNamesThatAreNone) {
    kxe_glock* lock = nullptr;
    EXPECT_EQ(kxe_glock_init(nullptr, &lock), EINVAL);
    EXPECT_EQ(kxe_glock_init("", &lock), EINVAL);
    EXPECT_EQ(kxe_glock_init(std::string(251, 'a').c_str(), &lock), ENAMETOOLONG);
    EXPECT_EQ(lock, nullptr);
}

TEST_F(Glock, TellsWhyItCannotBeMade) {
    kxtest::WriteFile("var/run", "in the way");
    kxe_glock* lock = nullptr;
    EXPECT_EQ(kxe_glock_init(kName, &lock), ENOTDIR);
    EXPECT_EQ(lock, nullptr);
}

TEST_F(Glock, ASymbolicLinkIsNotFollowed) {
    fs::create_directories(LockDirectory());
    fs::create_symlink(kxtest::InstallationRoot() / "elsewhere", LockDirectory() / kFile);
    kxe_glock* lock = nullptr;
    EXPECT_EQ(kxe_glock_init(kName, &lock), ELOOP);
    EXPECT_FALSE(fs::exists(kxtest::InstallationRoot() / "elsewhere"));
}

TEST_F(Glock, ARemovedFileIsMadeAnew) {
    const LockHandle first(kName);
    const LockHandle second(kName);
    fs::remove(LockDirectory() / kFile);
    EXPECT_EQ(kxe_glock_acquire_timeout(first.Get(), 0), 0);
    EXPECT_TRUE(fs::exists(LockDirectory() / kFile));
    EXPECT_EQ(kxe_glock_acquire_timeout(second.Get(), 0), ETIMEDOUT);
}

TEST_F(Glock, ARemovedDirectoryIsTold) {
    const LockHandle lock(kName);
    fs::remove_all(LockDirectory());
    EXPECT_EQ(kxe_glock_acquire_timeout(lock.Get(), kLongMs), ENOENT);
}

TEST_F(Glock, TheDescriptorIsClosedOnExec) {
    const LockHandle lock(kName);
    int found = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(entry.path(), gone).filename() == kFile) {
            EXPECT_EQ(fcntl(std::stoi(entry.path().filename()), F_GETFD), FD_CLOEXEC);
            ++found;
        }
    }
    EXPECT_EQ(found, 1);
}
