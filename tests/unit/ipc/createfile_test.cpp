#include "ipc/createfile.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <utility>

#include "installation.h"
#include "open_files.h"

namespace fs = std::filesystem;

namespace {

using CreateFile = kxtest::InstallationTest;

fs::path File() {
    return kxtest::InstallationRoot() / "file";
}

// What write(2) does when it is set.
std::function<ssize_t(int, const void*, std::size_t)> hooked_write;

}  // namespace

// In front of the module's calls of the C library, by the linker's --wrap. Visible, since the
// linker counts the calls of AddressSanitizer's library among the wrapped ones.
#pragma GCC visibility push(default)
extern "C" {
ssize_t RealWrite(int descriptor, const void* data, std::size_t size) asm("__real_write");
ssize_t WrapWrite(int descriptor, const void* data, std::size_t size) asm("__wrap_write");
ssize_t WrapWrite(int descriptor, const void* data, std::size_t size) {
    return hooked_write ? hooked_write(descriptor, data, size) : RealWrite(descriptor, data, size);
}
}
#pragma GCC visibility pop

TEST_F(CreateFile, MakesAnEmptyFile) {
    EXPECT_TRUE(CreateOrTruncate(File().c_str()).IsOpen());
    EXPECT_TRUE(fs::is_empty(File()));
}

TEST_F(CreateFile, EmptiesTheFileThatIsThere) {
    const fs::path path = kxtest::WriteFile("file", "old");
    EXPECT_TRUE(CreateOrTruncate(path.c_str()).IsOpen());
    EXPECT_TRUE(fs::is_empty(path));
}

TEST_F(CreateFile, EveryoneMayReadAndTheOwnerWrite) {
    const mode_t before = umask(0);
    (void)CreateOrTruncate(File().c_str());
    umask(before);
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0644));
}

TEST_F(CreateFile, TheUmaskTakesRightsAway) {
    const mode_t before = umask(0077);
    (void)CreateOrTruncate(File().c_str());
    umask(before);
    EXPECT_EQ(fs::status(File()).permissions(), fs::perms(0600));
}

TEST_F(CreateFile, ChildProcessesDoNotInheritIt) {
    const CreatedFile file = CreateOrTruncate(File().c_str());
    const int descriptor = kxtest::DescriptorOf(File());
    ASSERT_GE(descriptor, 0);
    EXPECT_EQ(fcntl(descriptor, F_GETFD), FD_CLOEXEC);
}

TEST_F(CreateFile, ClosesWithItsOwner) {
    { const CreatedFile file = CreateOrTruncate(File().c_str()); }
    EXPECT_EQ(kxtest::DescriptorOf(File()), -1);
}

TEST_F(CreateFile, MovesWithItsOwner) {
    CreatedFile kept;
    {
        CreatedFile first = CreateOrTruncate(File().c_str());
        kept = std::move(first);
    }
    EXPECT_TRUE(kept.Write("x", 1));
    EXPECT_EQ(kxtest::ReadFile(File()), "x");
    kept = CreatedFile();
    EXPECT_EQ(kxtest::DescriptorOf(File()), -1);
}

TEST_F(CreateFile, DoesNotFollowASymbolicLinkToAFile) {
    const fs::path other = kxtest::WriteFile("other", "precious");
    fs::create_symlink(other, File());
    const bool open = CreateOrTruncate(File().c_str()).IsOpen();
    EXPECT_EQ(errno, ELOOP);
    EXPECT_FALSE(open);
    EXPECT_EQ(kxtest::ReadFile(other), "precious");
}

TEST_F(CreateFile, DoesNotFollowASymbolicLinkToNothing) {
    const fs::path other = kxtest::InstallationRoot() / "other";
    fs::create_symlink(other, File());
    EXPECT_FALSE(CreateOrTruncate(File().c_str()).IsOpen());
    EXPECT_FALSE(fs::exists(other));
}

TEST_F(CreateFile, FailsInAMissingDirectory) {
    const bool open = CreateOrTruncate((File() / "x").c_str()).IsOpen();
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(open);
}

TEST_F(CreateFile, WritesWhatItIsGiven) {
    EXPECT_TRUE(CreateOrTruncate(File().c_str()).Write("some text", 9));
    EXPECT_EQ(kxtest::ReadFile(File()), "some text");
}

TEST_F(CreateFile, SaysWhenTheFileTookLess) {
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{4, before.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    CreatedFile file = CreateOrTruncate(File().c_str());
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const bool written = file.Write("some text", 9);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_FALSE(written);
    EXPECT_EQ(kxtest::ReadFile(File()), "some");
}

TEST_F(CreateFile, GoesOnAfterAnInterruption) {
    CreatedFile file = CreateOrTruncate(File().c_str());
    int calls = 0;
    hooked_write = [&](int descriptor, const void* data, std::size_t size) {
        errno = EINTR;
        return ++calls < 3 ? -1 : RealWrite(descriptor, data, size);
    };
    const bool written = file.Write("some text", 9);
    hooked_write = nullptr;
    EXPECT_TRUE(written);
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(kxtest::ReadFile(File()), "some text");
}

TEST_F(CreateFile, WritesInAsManyPiecesAsTheFileTakes) {
    CreatedFile file = CreateOrTruncate(File().c_str());
    hooked_write = [](int descriptor, const void* data, std::size_t size) {
        return RealWrite(descriptor, data, std::min<std::size_t>(size, 2));
    };
    const bool written = file.Write("some text", 9);
    hooked_write = nullptr;
    EXPECT_TRUE(written);
    EXPECT_EQ(kxtest::ReadFile(File()), "some text");
}

TEST_F(CreateFile, GivesUpOnAFileThatTakesNothing) {
    CreatedFile file = CreateOrTruncate(File().c_str());
    hooked_write = [](int, const void*, std::size_t) { return ssize_t{0}; };
    const bool written = file.Write("some text", 9);
    hooked_write = nullptr;
    EXPECT_FALSE(written);
}
