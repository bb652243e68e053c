// Where lines go.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "loaded_log.h"
#include "open_files.h"

namespace fs = std::filesystem;

namespace {

using ::testing::MatchesRegex;
using Places = LogTest;
using Lines = std::vector<std::string>;

unsigned Mode(const fs::path& path) {
    struct stat status = {};
    EXPECT_EQ(stat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

}  // namespace

TEST_F(Places, TheDirectoryIsMadeWithItsParents) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    EXPECT_TRUE(fs::is_regular_file(File()));
    EXPECT_EQ(Mode(kxtest::InstallationRoot() / "var"), 0750U);
    EXPECT_EQ(Mode(Directory()), 0750U);
    EXPECT_EQ(Mode(File()), 0640U);
}

TEST_F(Places, ADirectoryMayEndInASlash) {
    ASSERT_EQ(init((Directory().string() + "/").c_str(), 5), 0);
    EXPECT_TRUE(fs::is_regular_file(File()));
}

TEST_F(Places, ADirectoryMayBeRelative) {
    const fs::path before = fs::current_path();
    fs::current_path(kxtest::InstallationRoot());
    const int result = init("var/log", 5);
    fs::current_path(before);
    EXPECT_EQ(result, 0);
    output(3, "t", 1, "x");
    EXPECT_EQ(Texts(kxtest::ReadFile(kxtest::InstallationRoot() / "var/log/kxepinfo.log")),
              Lines{"t:1 x"});
}

TEST_F(Places, ARelativeDirectoryWithoutAWorkingDirectoryMeansStandardError) {
    const fs::path before = fs::current_path();
    const fs::path gone = kxtest::InstallationRoot() / "gone";
    fs::create_directory(gone);
    fs::current_path(gone);
    fs::remove(gone);
    const ErrorStreamCapture captured;
    const int result = init("var/log", 5);
    output(2, "t", 1, "x");
    fs::current_path(before);
    EXPECT_EQ(result, ENOENT);
    EXPECT_EQ(Texts(captured.Text()), Lines{"t:1 x"});
}

TEST_F(Places, AFileThatIsThereIsContinued) {
    kxtest::WriteFile("var/log/agent/kxepinfo/kxepinfo.log", "from the last run\n");
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    output(3, "t", 1, "x");
    EXPECT_THAT(kxtest::ReadFile(File()),
                MatchesRegex("from the last run\n[^ ]+ [^ ]+ I [^ ]+ t:1 x\n"));
}

TEST_F(Places, AnUnfinishedLastLineIsEnded) {
    kxtest::WriteFile("var/log/agent/kxepinfo/kxepinfo.log", "cut off");
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    output(3, "t", 1, "x");
    EXPECT_THAT(kxtest::ReadFile(File()), MatchesRegex("cut off\n[^ ]+ [^ ]+ I [^ ]+ t:1 x\n"));
}

TEST_F(Places, BeforeInitialisingItIsStandardError) {
    SetLevel("4");
    const ErrorStreamCapture captured;
    for (int level = 1; level <= 4; ++level) {
        output(level, "t", level, "x\n");
    }
    EXPECT_THAT(captured.Text(),
                MatchesRegex("[^ ]+ [^ ]+ C [^ ]+ t:1 x\n[^ ]+ [^ ]+ E [^ ]+ t:2 x\n"
                             "[^ ]+ [^ ]+ I [^ ]+ t:3 x\n"));
}

TEST_F(Places, WithAFileStandardErrorStaysEmpty) {
    const ErrorStreamCapture captured;
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    output(1, "t", 1, "x");
    EXPECT_EQ(captured.Text(), "");
}

TEST_F(Places, ADirectoryThatCannotBeMadeMeansStandardError) {
    kxtest::WriteFile("var/log/agent", "a file in the way");
    const ErrorStreamCapture captured;
    EXPECT_EQ(init(Directory().c_str(), 5), ENOTDIR);
    output(2, "t", 1, "x");
    output(4, "t", 2, "x");
    EXPECT_EQ(Texts(captured.Text()), Lines{"t:1 x"});
}

TEST_F(Places, AForbiddenDirectoryMeansStandardError) {
    fs::create_directories(Directory());
    fs::permissions(Directory(), fs::perms::none);
    fs::permissions(kxtest::InstallationRoot(), fs::perms::others_exec, fs::perm_options::add);
    const ErrorStreamCapture captured;
    const uid_t user = geteuid();
    if (user == 0) {
        ASSERT_EQ(seteuid(65534), 0);  // root may write everywhere
    }
    const int result = init(Directory().c_str(), 5);
    output(2, "t", 1, "x");
    ASSERT_EQ(seteuid(user), 0);
    fs::permissions(Directory(), fs::perms::owner_all);  // so that it can be cleared away
    EXPECT_EQ(result, EACCES);
    EXPECT_EQ(Texts(captured.Text()), Lines{"t:1 x"});
}

TEST_F(Places, SomethingElseUnderTheFilesNameMeansStandardError) {
    fs::create_directories(File());
    const ErrorStreamCapture captured;
    EXPECT_EQ(init(Directory().c_str(), 5), EISDIR);
    fs::remove(File());
    ASSERT_EQ(mkfifo(File().c_str(), 0600), 0);
    EXPECT_EQ(init(Directory().c_str(), 5), EINVAL);
    output(2, "t", 1, "x");
    EXPECT_EQ(Texts(captured.Text()), Lines{"t:1 x"});
}

TEST_F(Places, UnusableArgumentsChangeNothing) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    EXPECT_EQ(init(nullptr, 5), EINVAL);
    EXPECT_EQ(init("", 5), EINVAL);
    EXPECT_EQ(init(Directory().c_str(), 0), EINVAL);
    EXPECT_EQ(init(Directory().c_str(), -1), EINVAL);
    EXPECT_EQ(init(Directory().c_str(), 1001), EINVAL);
    output(3, "t", 1, "x");
    EXPECT_EQ(LoggedTexts(), Lines{"t:1 x"});
}

TEST_F(Places, InitialisingAgainLosesAndLeaksNothing) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    const std::size_t descriptors = kxtest::OpenDescriptors();
    Lines expected;
    for (int i = 0; i < 100; ++i) {
        output(3, "t", i, "x");
        expected.push_back("t:" + std::to_string(i) + " x");
        ASSERT_EQ(init(Directory().c_str(), i % 2 == 0 ? 5 : 6), 0);
    }
    EXPECT_EQ(kxtest::OpenDescriptors(), descriptors);
    EXPECT_EQ(LoggedTexts(), expected);
}

TEST_F(Places, AnotherDirectoryIsSwitchedTo) {
    const fs::path other = kxtest::InstallationRoot() / "other";
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    output(3, "t", 1, "x");
    ASSERT_EQ(init(other.c_str(), 5), 0);
    output(3, "t", 2, "x");
    EXPECT_EQ(LoggedTexts(), Lines{"t:1 x"});
    EXPECT_EQ(Texts(kxtest::ReadFile(other / "kxepinfo.log")), Lines{"t:2 x"});
}

TEST_F(Places, TheDescriptorIsClosedOnExec) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    int found = 0;
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(entry.path(), gone).filename() == "kxepinfo.log") {
            EXPECT_EQ(fcntl(std::stoi(entry.path().filename()), F_GETFD), FD_CLOEXEC);
            ++found;
        }
    }
    EXPECT_EQ(found, 1);
}

// The signal would end the process.
TEST_F(Places, AClosedPipeAsStandardErrorIsHarmless) {
    std::array<int, 2> channel = {};
    ASSERT_EQ(pipe(channel.data()), 0);
    const int before = dup(STDERR_FILENO);
    ASSERT_GE(dup2(channel[1], STDERR_FILENO), 0);
    close(channel[0]);
    close(channel[1]);
    output(1, "t", 1, "x");
    ASSERT_GE(dup2(before, STDERR_FILENO), 0);
    close(before);
    sigset_t set;
    ASSERT_EQ(pthread_sigmask(SIG_SETMASK, nullptr, &set), 0);
    EXPECT_EQ(sigismember(&set, SIGPIPE), 0);
    ASSERT_EQ(sigpending(&set), 0);
    EXPECT_EQ(sigismember(&set, SIGPIPE), 0);
}
