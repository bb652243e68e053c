#include "trace_file.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "installation.h"
#include "open_files.h"

namespace fs = std::filesystem;

namespace {

fs::path Var() {
    return kxtest::InstallationRoot() / "var";
}

fs::path Events() {
    return Var() / "trace/events.jsonl";
}

fs::path OldEvents() {
    return Var() / "trace/events.jsonl.1";
}

// A file of `size` bytes that takes no room on the disk; it ends with a whole line.
void MakeEvents(std::int64_t size) {
    kxtest::WriteFile("var/trace/events.jsonl", "");
    fs::resize_file(Events(), static_cast<std::uintmax_t>(size) - 1);
    const int file = open(Events().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
    ASSERT_EQ(write(file, "\n", 1), 1);
    close(file);
}

}  // namespace

using TraceFile = kxtest::InstallationTest;

TEST_F(TraceFile, IsMadeWithItsDirectories) {
    const mode_t mask = umask(0);
    EXPECT_EQ(bpsdk::AppendLine("{}\n"), 0);
    umask(mask);
    EXPECT_EQ(kxtest::ReadFile(Events()), "{}\n");
    EXPECT_EQ(fs::status(Var()).permissions(), fs::perms(0750));
    EXPECT_EQ(fs::status(Var() / "trace").permissions(), fs::perms(0750));
    EXPECT_EQ(fs::status(Events()).permissions(), fs::perms(0640));
}

TEST_F(TraceFile, GrowsByEachLine) {
    EXPECT_EQ(bpsdk::AppendLine("1\n"), 0);
    EXPECT_EQ(bpsdk::AppendLine("2\n"), 0);
    EXPECT_EQ(kxtest::ReadFile(Events()), "1\n2\n");
}

TEST_F(TraceFile, ComesBackWhenItsDirectoryWasRemoved) {
    EXPECT_EQ(bpsdk::AppendLine("1\n"), 0);
    fs::remove_all(Var());
    EXPECT_EQ(bpsdk::AppendLine("2\n"), 0);
    EXPECT_EQ(kxtest::ReadFile(Events()), "2\n");
}

// A limit on the size of files cuts a write short as a full disk does.
TEST_F(TraceFile, TakesBackALineThatWasCutShort) {
    ASSERT_EQ(bpsdk::AppendLine("{}\n"), 0);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit low = before;
    low.rlim_cur = 100;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &low), 0);
    const int result = bpsdk::AppendLine(std::string(200, 'x') + '\n');
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ(result, ENOSPC);
    EXPECT_EQ(kxtest::ReadFile(Events()), "{}\n");
    EXPECT_EQ(bpsdk::AppendLine("[]\n"), 0);
    EXPECT_EQ(kxtest::ReadFile(Events()), "{}\n[]\n");
}

// As when the limit that a service manager sets is reached.
TEST_F(TraceFile, LeavesOutALineOfWhichNothingCanBeWritten) {
    ASSERT_EQ(bpsdk::AppendLine("{}\n"), 0);
    const sighandler_t handler = signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit low = before;
    low.rlim_cur = 3;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &low), 0);
    const int result = bpsdk::AppendLine("[]\n");
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    (void)signal(SIGXFSZ, handler);
    EXPECT_EQ(result, EFBIG);
    EXPECT_EQ(kxtest::ReadFile(Events()), "{}\n");
}

TEST_F(TraceFile, IsFilledToItsLimit) {
    MakeEvents(bpsdk::kLargestFile - 3);
    EXPECT_EQ(bpsdk::AppendLine("{}\n"), 0);
    EXPECT_EQ(fs::file_size(Events()), static_cast<std::uintmax_t>(bpsdk::kLargestFile));
    EXPECT_FALSE(fs::exists(OldEvents()));
}

TEST_F(TraceFile, IsPutAsideWhenALineWouldExceedTheLimit) {
    MakeEvents(bpsdk::kLargestFile - 2);
    kxtest::WriteFile("var/trace/events.jsonl.1", "older");
    EXPECT_EQ(bpsdk::AppendLine("{}\n"), 0);
    EXPECT_EQ(kxtest::ReadFile(Events()), "{}\n");
    EXPECT_EQ(fs::file_size(OldEvents()), static_cast<std::uintmax_t>(bpsdk::kLargestFile - 2));
}

TEST_F(TraceFile, IsAppendedToWhileAnotherProcessPutsItAside) {
    MakeEvents(bpsdk::kLargestFile);
    const int other = open(Events().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    EXPECT_EQ(bpsdk::AppendLine("{}\n"), 0);
    close(other);
    EXPECT_EQ(fs::file_size(Events()), static_cast<std::uintmax_t>(bpsdk::kLargestFile + 3));
    EXPECT_FALSE(fs::exists(OldEvents()));
}

TEST_F(TraceFile, StaysWhenItCannotBePutAside) {
    MakeEvents(bpsdk::kLargestFile);
    fs::create_directory(OldEvents());
    EXPECT_EQ(bpsdk::AppendLine("{}\n"), 0);
    EXPECT_EQ(fs::file_size(Events()), static_cast<std::uintmax_t>(bpsdk::kLargestFile + 3));
}

TEST_F(TraceFile, SaysWhyTheDirectoryCannotBeMade) {
    kxtest::WriteFile("var", "");
    EXPECT_EQ(bpsdk::MakeTraceDirectory(), ENOTDIR);
    EXPECT_EQ(bpsdk::AppendLine("{}\n"), ENOTDIR);
}

TEST_F(TraceFile, IsNotWrittenThroughALink) {
    const fs::path elsewhere = kxtest::WriteFile("elsewhere", "");
    ASSERT_EQ(bpsdk::MakeTraceDirectory(), 0);
    fs::create_symlink(elsewhere, Events());
    EXPECT_EQ(bpsdk::AppendLine("{}\n"), ELOOP);
    EXPECT_EQ(kxtest::ReadFile(elsewhere), "");
}

TEST_F(TraceFile, KeepsNoDescriptorOpen) {
    const std::size_t before = kxtest::OpenDescriptors();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(bpsdk::AppendLine("{}\n"), 0);
    }
    MakeEvents(bpsdk::kLargestFile);
    ASSERT_EQ(bpsdk::AppendLine("{}\n"), 0);
    EXPECT_EQ(kxtest::OpenDescriptors(), before);
}

TEST_F(TraceFile, KeepsLinesOfManyThreadsWhole) {
    const std::string line = std::string(5000, 'x') + '\n';
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&line] {
            for (int j = 0; j < 50; ++j) {
                EXPECT_EQ(bpsdk::AppendLine(line), 0);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::string expected;
    for (int i = 0; i < 200; ++i) {
        expected += line;
    }
    EXPECT_TRUE(kxtest::ReadFile(Events()) == expected);
}
