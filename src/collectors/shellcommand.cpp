#include "collectors/shellcommand.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>

#include "collectors/leftbehind.h"
#include "common/exitflag.h"

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kLook{100};  // between two looks at whether to stop
constexpr milliseconds kFirstPause{1};
constexpr milliseconds kStopping{1000};  // what a stop leaves a command
constexpr milliseconds kKilled{1000};    // a killed process has this long to go

// What the process begins with; each step says 0 or what went wrong.
class Start {
  public:
    Start() {
        (void)posix_spawn_file_actions_init(&m_actions);  // these two cannot fail here
        (void)posix_spawnattr_init(&m_attributes);
    }
    ~Start() {
        (void)posix_spawnattr_destroy(&m_attributes);
        (void)posix_spawn_file_actions_destroy(&m_actions);
    }
    Start(const Start&) = delete;
    Start& operator=(const Start&) = delete;

    // 0 when nothing could be started.
    pid_t Run(const char* command, int output) {
        char shell[] = "sh";
        char option[] = "-c";
        // The system's own prototype: the strings are not written to.
        char* arguments[] = {shell, option, const_cast<char*>(command), nullptr};
        pid_t process = 0;
        const bool started =
            Prepare(output) == 0 &&
            posix_spawn(&process, "/bin/sh", &m_actions, &m_attributes, arguments, environ) == 0;
        return started ? process : 0;
    }

  private:
    int Prepare(int output) {
        sigset_t none;
        (void)sigemptyset(&none);
        (void)posix_spawnattr_setsigmask(&m_attributes, &none);
        (void)posix_spawnattr_setpgroup(&m_attributes, 0);
        (void)posix_spawnattr_setflags(&m_attributes,
                                       POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETPGROUP);
        return posix_spawn_file_actions_adddup2(&m_actions, output, STDOUT_FILENO);
    }

    posix_spawn_file_actions_t m_actions{};
    posix_spawnattr_t m_attributes{};
};

}  // namespace

ShellCommand::ShellCommand(const char* command, milliseconds limit)
    : m_deadline(Clock::now() + limit) {
    ReapLeftBehind();
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return;
    }
    m_output = ends[0];
    m_process = Start().Run(command, ends[1]);
    (void)close(ends[1]);
}

ShellCommand::~ShellCommand() {
    if (m_output >= 0) {
        (void)close(m_output);
    }
    // Asked first: the shell may have ended, and what it started goes on and holds the output.
    if (IsStarted() && (IsTimeUp() || !WaitForEnd())) {
        Kill();
    }
}

void ShellCommand::Kill() const {
    (void)kill(-m_process, SIGKILL);
    const Clock::time_point end = Clock::now() + kKilled;
    while (!HasEnded()) {
        if (Clock::now() >= end) {
            LeaveBehind(m_process);
            return;
        }
        std::this_thread::sleep_for(kFirstPause);
    }
}

ssize_t ShellCommand::Read(char* buffer, std::size_t size) {
    ssize_t count = -1;
    do {
        if (!WaitForOutput()) {
            return -1;
        }
        count = read(m_output, buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

bool ShellCommand::WaitForOutput() {
    int ready = 0;
    while (ready == 0 && !IsTimeUp()) {
        pollfd output{m_output, POLLIN, 0};
        ready = poll(&output, 1, static_cast<int>(kLook.count()));
        if (ready < 0 && errno == EINTR) {
            ready = 0;
        }
    }
    return ready > 0;
}

bool ShellCommand::IsTimeUp() {
    if (!m_stopping && IsStopRequested()) {
        m_stopping = true;
        m_deadline = std::min(m_deadline, Clock::now() + kStopping);
    }
    return Clock::now() >= m_deadline;
}

// The shell closes its output a moment before it has ended, so the first look often comes too
// early.
bool ShellCommand::WaitForEnd() {
    for (milliseconds pause = kFirstPause; !HasEnded(); pause = std::min(2 * pause, kLook)) {
        if (IsTimeUp()) {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
    return true;
}

// Where the process ignores SIGCHLD, or waits for any child, it may be gone without us.
bool ShellCommand::HasEnded() const {
    pid_t ended = -1;
    do {
        ended = waitpid(m_process, nullptr, WNOHANG);
    } while (ended < 0 && errno == EINTR);
    return ended != 0;
}
