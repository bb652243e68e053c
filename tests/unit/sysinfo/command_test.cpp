// The command runner: real commands, and output that only a hook can give.
#include "collectors/command.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <thread>

#include "common/exitflag.h"
#include "sysinfo_fixture.h"

using namespace std::chrono_literals;

namespace {

using Command = SysInfoTest;

struct Result {
    int status;
    std::string text;
    bool operator==(const Result&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Result& result) {
    return out << result.status << " '" << result.text << "'";
}

Result Capture(const char* command, std::size_t size = 64,
               std::chrono::milliseconds limit = kCommandLimit) {
    std::string out(size, 'x');
    const int status = RunCommand(command, out.data(), out.size(), limit);
    return {status, out.c_str()};
}

Result CaptureOutput(const std::string& output, std::size_t size = 64) {
    return Capture(CommandThatPrints(output).c_str(), size);
}

// Reading gives the text and then fails.
void LetReadingBreakAfter(std::string text) {
    Machine().read = [text](int, void* buffer, std::size_t size) mutable -> ssize_t {
        const std::size_t count = std::min(size, text.size());
        if (count == 0) {
            errno = EIO;
            return -1;
        }
        std::memcpy(buffer, text.data(), count);
        text.erase(0, count);
        return static_cast<ssize_t>(count);
    };
}

// Stop requested for its life.
class StopRequested {
  public:
    StopRequested() { WriteExitFlag(&s_exitFlag, 1); }
    ~StopRequested() { WriteExitFlag(&s_exitFlag, 0); }
    StopRequested(const StopRequested&) = delete;
    StopRequested& operator=(const StopRequested&) = delete;
};

bool Runs(pid_t process) {
    const std::string status = kxtest::ReadFile("/proc/" + std::to_string(process) + "/status");
    return !status.empty() && status.find("State:\tZ") == std::string::npos;
}

// Where a command writes down the process that it started.
std::string ProcessFile() {
    return (kxtest::InstallationRoot() / "process").string();
}

// Sets the signal's action for its life.
class Ignored {
  public:
    explicit Ignored(int number) : number_(number), old_(signal(number, SIG_IGN)) {}
    ~Ignored() { (void)signal(number_, old_); }
    Ignored(const Ignored&) = delete;
    Ignored& operator=(const Ignored&) = delete;

  private:
    int number_;
    sighandler_t old_;
};

// Blocks every signal of this thread for its life, as they are on the module's worker.
class AllSignalsBlocked {
  public:
    AllSignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &old_);
    }
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &old_, nullptr); }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;

  private:
    sigset_t old_{};
};

// The line of this thread's blocked signals.
std::string BlockedSignals() {
    const std::string status = kxtest::ReadFile("/proc/thread-self/status");
    const std::size_t begin = status.find("SigBlk:");
    return status.substr(begin, status.find('\n', begin) - begin);
}

}  // namespace

TEST_F(Command, GivesALineWithoutItsNewline) {
    EXPECT_EQ(Capture("echo two words"), (Result{0, "two words"}));
}

TEST_F(Command, OutputWithoutANewlineLosesItsLastCharacter) {
    EXPECT_EQ(Capture("printf abc"), (Result{0, "ab"}));
}

TEST_F(Command, OnlyTheLastOfSeveralNewlinesIsDropped) {
    EXPECT_EQ(Capture("printf 'a\\nb\\n\\n'"), (Result{0, "a\nb\n"}));
}

TEST_F(Command, OneCharacterLeavesAnEmptyText) {
    EXPECT_EQ(Capture("echo"), (Result{0, ""}));
}

TEST_F(Command, NoOutputIsASuccessWithAnEmptyText) {
    EXPECT_EQ(Capture("true"), (Result{0, ""}));
}

TEST_F(Command, TheExitStatusDoesNotCount) {
    EXPECT_EQ(Capture("echo out; exit 3"), (Result{0, "out"}));
    EXPECT_EQ(Capture("echo out; kill -9 $$"), (Result{0, "out"}));
}

TEST_F(Command, ACommandThatIsNotThereIsASuccessWithAnEmptyText) {
    EXPECT_EQ(Capture("exec 2>/dev/null; no-such-command-anywhere"), (Result{0, ""}));
}

TEST_F(Command, StandardErrorIsNotRead) {
    EXPECT_EQ(Capture("exec 2>/dev/null; echo wrong >&2; echo right"), (Result{0, "right"}));
}

TEST_F(Command, OutputThatComesInBitsIsPutTogether) {
    EXPECT_EQ(Capture("printf a; printf b; printf 'c\\n'"), (Result{0, "abc"}));
}

TEST_F(Command, OutputOfWholePiecesIsKept) {
    const std::string pieces(62, 'a');
    EXPECT_EQ(CaptureOutput(pieces), (Result{0, pieces.substr(1)}));
}

TEST_F(Command, OutputMayBeOneCharacterShorterThanTheBuffer) {
    EXPECT_EQ(CaptureOutput(std::string(62, 'a') + "\n"), (Result{0, std::string(62, 'a')}));
    EXPECT_EQ(CaptureOutput("64\n", 4), (Result{0, "64"}));
}

TEST_F(Command, OutputAsLongAsTheBufferFailsAndLeavesAnEmptyText) {
    EXPECT_EQ(CaptureOutput(std::string(63, 'a') + "\n"), (Result{-1, ""}));
    EXPECT_EQ(CaptureOutput("640\n", 4), (Result{-1, ""}));
}

TEST_F(Command, EndlessOutputFails) {
    EXPECT_EQ(Capture("yes"), (Result{-1, ""}));
}

TEST_F(Command, ABufferOfOneByteHoldsNoOutput) {
    EXPECT_EQ(CaptureOutput("", 1), (Result{0, ""}));
    EXPECT_EQ(CaptureOutput("a", 1), (Result{-1, ""}));
}

// Pieces of 31 bytes: what follows a zero byte is lost up to the next piece.
TEST_F(Command, AZeroByteHidesTheRestOfItsPiece) {
    const std::string output = std::string("ab\0", 3) + std::string(28, 'x') + "cd\n";
    EXPECT_EQ(CaptureOutput(output), (Result{0, "abcd"}));
}

TEST_F(Command, OutputOfAZeroByteIsEmpty) {
    EXPECT_EQ(CaptureOutput(std::string(1, '\0')), (Result{0, ""}));
}

TEST_F(Command, FailsWhenReadingBreaks) {
    LetReadingBreakAfter("abc");
    EXPECT_EQ(Capture("echo abc"), (Result{-1, ""}));
}

TEST_F(Command, FailsWhenReadingBreaksBetweenTwoPieces) {
    LetReadingBreakAfter(std::string(31, 'a'));
    EXPECT_EQ(Capture("echo abc"), (Result{-1, ""}));
}

TEST_F(Command, ReadsOnAfterASignal) {
    Machine().read = [times = 0](int file, void* buffer, std::size_t size) mutable {
        errno = EINTR;
        return ++times % 2 == 1 ? -1 : syscall(SYS_read, file, buffer, size);
    };
    EXPECT_EQ(Capture("echo abc"), (Result{0, "abc"}));
}

TEST_F(Command, FailsWithAnEmptyTextWhenItCannotBeStarted) {
    Machine().shell = [](const std::string&) { return std::nullopt; };
    EXPECT_EQ(Capture("any"), (Result{-1, ""}));
}

TEST_F(Command, FailsWithAnEmptyTextWithoutAPipe) {
    Machine().pipe2 = [](int*, int) {
        errno = EMFILE;
        return -1;
    };
    EXPECT_EQ(Capture("echo a"), (Result{-1, ""}));
}

TEST_F(Command, NeedsACommandAndABuffer) {
    char out[] = "kept";
    EXPECT_EQ(RunCommand(nullptr, out, sizeof out), -1);
    EXPECT_EQ(RunCommand("echo", nullptr, 4), -1);
    EXPECT_EQ(RunCommand("echo", out, 0), -1);
    EXPECT_STREQ(out, "kept");
}

TEST_F(Command, TheCommandIsHandedOverAsItIs) {
    std::string seen;
    Machine().shell = [&](const std::string& command) {
        seen = command;
        return "true";
    };
    EXPECT_EQ(Capture("a \"b\" $c"), (Result{0, ""}));
    EXPECT_EQ(seen, "a \"b\" $c");
}

TEST_F(Command, ThePipeIsNotInheritedByOtherChildProcesses) {
    int asked = 0;
    Machine().pipe2 = [&](int* ends, int flags) {
        asked = flags;
        return static_cast<int>(syscall(SYS_pipe2, ends, flags));
    };
    EXPECT_EQ(Capture("echo a"), (Result{0, "a"}));
    EXPECT_EQ(asked, O_CLOEXEC);
}

TEST_F(Command, LeavesNoChildProcess) {
    EXPECT_EQ(Capture("echo a"), (Result{0, "a"}));
    EXPECT_EQ(Capture("yes"), (Result{-1, ""}));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(Command, TakesTheStatusOfAnEarlierOneThatHasOutlivedBeingKilled) {
    pid_t process = 0;
    Machine().waitpid = [&](pid_t asked, int*, int) {
        process = asked;
        return 0;  // as long as the kernel holds it
    };
    EXPECT_EQ(Capture("sleep 60", 64, 10ms), (Result{-1, ""}));
    Machine().waitpid = nullptr;
    EXPECT_EQ(kill(process, 0), 0);
    EXPECT_EQ(Capture("echo a"), (Result{0, "a"}));
    EXPECT_EQ(kill(process, 0), -1);
}

TEST_F(Command, WorksInAHostThatIgnoresSigchld) {
    const Ignored ignored(SIGCHLD);
    EXPECT_EQ(Capture("echo a"), (Result{0, "a"}));
    EXPECT_EQ(Capture("/bin/bash -c 'echo b'"), (Result{0, "b"}));
    EXPECT_EQ(Capture("yes"), (Result{-1, ""}));
}

TEST_F(Command, WorksInAHostThatIgnoresSigpipe) {
    const Ignored ignored(SIGPIPE);
    EXPECT_EQ(Capture("exec 2>/dev/null; yes"), (Result{-1, ""}));
}

TEST_F(Command, WorksWithAllSignalsBlocked) {
    const AllSignalsBlocked blocked;
    EXPECT_EQ(Capture("echo a"), (Result{0, "a"}));
    EXPECT_EQ(Capture("/bin/bash -c 'echo b'"), (Result{0, "b"}));
    EXPECT_EQ(Capture("true | echo c"), (Result{0, "c"}));
}

TEST_F(Command, RunsWithNoSignalBlocked) {
    const AllSignalsBlocked blocked;
    const std::string mask = BlockedSignals();
    EXPECT_EQ(Capture("grep SigBlk /proc/self/status"), (Result{0, "SigBlk:\t0000000000000000"}));
    EXPECT_EQ(BlockedSignals(), mask);
}

TEST_F(Command, ThatHangsIsEndedAfterItsLimit) {
    EXPECT_EQ(Capture("echo a; sleep 1000", 64, 50ms), (Result{-1, ""}));
}

TEST_F(Command, ThatClosesItsOutputAndHangsIsEndedAfterItsLimit) {
    EXPECT_EQ(Capture("echo a; exec >&- 2>&-; sleep 1000", 64, 1s), (Result{0, "a"}));
}

TEST_F(Command, IsEndedWithWhatItStarted) {
    const std::string command = "sleep 1000 & echo $! >'" + ProcessFile() + "'; echo a";
    EXPECT_EQ(Capture(command.c_str(), 64, 1s), (Result{-1, ""}));
    const pid_t left = std::stoi(kxtest::ReadFile(ProcessFile()));
    while (Runs(left)) {
        std::this_thread::yield();
    }
}

TEST_F(Command, ThatWillNotEndIsEndedTheHardWay) {
    EXPECT_EQ(Capture("trap '' TERM INT HUP; while :; do sleep 1000; done", 64, 50ms),
              (Result{-1, ""}));
}

TEST_F(Command, ThatPrintsForEverIsEndedWhereBrokenPipesAreIgnored) {
    const Ignored ignored(SIGPIPE);
    EXPECT_EQ(Capture("while :; do echo a; done 2>/dev/null", 64, 50ms), (Result{-1, ""}));
}

TEST_F(Command, ThatHangsIsEndedByAStop) {
    std::thread host([] {
        std::this_thread::sleep_for(20ms);
        WriteExitFlag(&s_exitFlag, 1);
    });
    EXPECT_EQ(Capture("sleep 1000"), (Result{-1, ""}));
    host.join();
    WriteExitFlag(&s_exitFlag, 0);
}

TEST_F(Command, ThatEndsSoonIsNotDisturbedByAStop) {
    const StopRequested stop;
    EXPECT_EQ(Capture("echo a"), (Result{0, "a"}));
}
