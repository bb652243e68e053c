// The command runner: real commands, and output that only a hook can give.
#include "collectors/command.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>

#include <cerrno>
#include <cstdio>

#include "sysinfo_fixture.h"

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

Result Capture(const char* command, std::size_t size = 64) {
    std::string out(size, 'x');
    const int status = RunCommand(command, out.data(), out.size());
    return {status, out.c_str()};
}

Result CaptureOutput(const std::string& output, std::size_t size = 64) {
    Machine().popen = [&](const char*, const char*) { return OutputOf(output); };
    return Capture("any", size);
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

TEST_F(Command, FailsWhenTheStreamBreaks) {
    Machine().popen = [](const char*, const char*) { return OutputThatBreaksAfter("abc"); };
    EXPECT_EQ(Capture("any"), (Result{-1, ""}));
}

TEST_F(Command, FailsWhenTheStreamBreaksBetweenTwoPieces) {
    Machine().popen = [](const char*, const char*) {
        return OutputThatBreaksAfter(std::string(31, 'a'));
    };
    EXPECT_EQ(Capture("any"), (Result{-1, ""}));
}

TEST_F(Command, FailsWithAnEmptyTextWhenItCannotBeStarted) {
    Machine().popen = [](const char*, const char*) {
        errno = EMFILE;
        return nullptr;
    };
    EXPECT_EQ(Capture("any"), (Result{-1, ""}));
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
    Machine().popen = [&](const char* command, const char* mode) {
        seen = std::string(command) + "|" + mode;
        return OutputOf("");
    };
    EXPECT_EQ(Capture("a \"b\" $c"), (Result{0, ""}));
    EXPECT_EQ(seen, "a \"b\" $c|re");
}

TEST_F(Command, ThePipeIsNotInheritedByOtherChildProcesses) {
    int flags = 0;
    Machine().popen = [&](const char* command, const char* mode) {
        std::FILE* const stream = RealPopen(command, mode);
        flags = fcntl(fileno(stream), F_GETFD);
        return stream;
    };
    EXPECT_EQ(Capture("echo a"), (Result{0, "a"}));
    EXPECT_EQ(flags, FD_CLOEXEC);
}

TEST_F(Command, LeavesNoChildProcess) {
    EXPECT_EQ(Capture("echo a"), (Result{0, "a"}));
    EXPECT_EQ(Capture("yes"), (Result{-1, ""}));
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
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

TEST_F(Command, LeavesTheSignalMaskAlone) {
    const AllSignalsBlocked blocked;
    const std::string mask = BlockedSignals();
    std::string mask_at_start;
    Machine().popen = [&](const char* command, const char* mode) {
        mask_at_start = BlockedSignals();
        return RealPopen(command, mode);
    };
    EXPECT_EQ(Capture("echo a"), (Result{0, "a"}));
    EXPECT_EQ(mask_at_start, mask);
    EXPECT_EQ(BlockedSignals(), mask);
}
