#include "system_calls.h"

#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "report.h"

namespace fs = std::filesystem;

namespace kxbench {
namespace {

constexpr long kOptions =
    PTRACE_O_TRACESYSGOOD | PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK;
constexpr int kAtSystemCall = SIGTRAP | 0x80;  // as PTRACE_O_TRACESYSGOOD marks it

bool IsThreadOf(pid_t process, pid_t task) {
    return syscall(SYS_tgkill, process, task, 0) == 0;
}

// A system call stops its thread twice, before and after.
bool IsBeforeSystemCall(pid_t task) {
    __ptrace_syscall_info call{};
    return ptrace(PTRACE_GET_SYSCALL_INFO, task, sizeof call, &call) > 0 &&
           call.op == PTRACE_SYSCALL_INFO_ENTRY;
}

// The signal that the thread was stopped for and must still get; 0 when it was stopped for us.
int SignalToDeliver(int status) {
    const bool is_event = status >> 16 != 0;
    return is_event || WSTOPSIG(status) == kAtSystemCall ? 0 : WSTOPSIG(status);
}

// The next watched thread that stopped or ended, -1 when there is none.
pid_t WaitForAny(int& status) {
    pid_t task = -1;
    do {
        task = waitpid(-1, &status, __WALL);
    } while (task < 0 && errno == EINTR);
    return task;
}

void Mark(int socket) {
    if (write(socket, "", 1) != 1) {
        Fail("cannot write to a socket");
    }
}

// A child process that waits for a byte, then works and writes a byte once more than `times` times.
pid_t ForkWorker(const std::function<void()>& work, int times, int socket) {
    const pid_t worker = fork();
    if (worker == 0) {
        (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
        char byte = 0;
        if (read(socket, &byte, 1) != 1) {
            _exit(EXIT_FAILURE);
        }
        for (int i = 0; i <= times; ++i) {
            work();
            Mark(socket);
        }
        _exit(EXIT_SUCCESS);
    }
    if (worker < 0) {
        Fail("cannot make a process");
    }
    return worker;
}

// What there was until the worker has written a byte.
SystemCalls CallsToMark(SystemCallCounter& counter, int socket) {
    const auto has_mark = [socket] {
        char byte = 0;
        return recv(socket, &byte, 1, MSG_DONTWAIT) == 1;
    };
    if (!counter.Run(has_mark)) {
        Fail("the work whose system calls are counted has failed");
    }
    return counter.calls();
}

}  // namespace

SystemCalls operator-(const SystemCalls& left, const SystemCalls& right) {
    return {.own = left.own - right.own,
            .of_children = left.of_children - right.of_children,
            .children = left.children - right.children};
}

SystemCallCounter::SystemCallCounter(pid_t process) : process_(process) {
    // Of a watched thread those that it starts are watched too, so a look that finds no other has
    // found all.
    while (SeizeThreads()) {
    }
}

SystemCallCounter::~SystemCallCounter() {
    for (const auto& [task, is_own] : tasks_) {
        (void)ptrace(PTRACE_INTERRUPT, task, nullptr, nullptr);
    }
    while (!tasks_.empty()) {
        int status = 0;
        const pid_t task = WaitForAny(status);
        if (task < 0) {
            return;
        }
        if (WIFSTOPPED(status)) {
            (void)ptrace(PTRACE_DETACH, task, nullptr, SignalToDeliver(status));
        }
        tasks_.erase(task);
    }
}

// False when all were known.
bool SystemCallCounter::SeizeThreads() {
    bool is_new = false;
    for (const auto& entry :
         fs::directory_iterator("/proc/" + std::to_string(process_) + "/task")) {
        const pid_t task = std::stoi(entry.path().filename());
        if (tasks_.contains(task)) {
            continue;
        }
        if (ptrace(PTRACE_SEIZE, task, nullptr, kOptions) != 0 ||
            ptrace(PTRACE_INTERRUPT, task, nullptr, nullptr) != 0) {
            Fail("cannot watch process " + std::to_string(process_));
        }
        tasks_[task] = true;
        is_new = true;
    }
    return is_new;
}

bool SystemCallCounter::Run(const std::function<bool()>& enough) {
    while (!enough()) {
        int status = 0;
        const pid_t task = WaitForAny(status);
        if (task < 0) {
            return false;
        }
        if (WIFSTOPPED(status)) {
            HandleStop(task, status);
            continue;
        }
        tasks_.erase(task);
        if (task == process_) {
            return false;
        }
    }
    return true;
}

void SystemCallCounter::HandleStop(pid_t task, int status) {
    const bool is_own = IsOwn(task);
    if (WSTOPSIG(status) == kAtSystemCall && IsBeforeSystemCall(task)) {
        (is_own ? calls_.own : calls_.of_children) += 1;
    }
    (void)ptrace(PTRACE_SYSCALL, task, nullptr, SignalToDeliver(status));
}

// Notices threads and processes that were started.
bool SystemCallCounter::IsOwn(pid_t task) {
    if (const auto known = tasks_.find(task); known != tasks_.end()) {
        return known->second;
    }
    if (IsThreadOf(task, task)) {
        calls_.children += 1;
    }
    return tasks_[task] = IsThreadOf(process_, task);
}

std::vector<SystemCalls> CountSystemCalls(const std::function<void()>& work, int times) {
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
        Fail("cannot make sockets");
    }
    SystemCallCounter counter(ForkWorker(work, times, sockets[1]));
    Mark(sockets[0]);
    std::vector<SystemCalls> calls;
    SystemCalls before = CallsToMark(counter, sockets[0]);
    for (int i = 0; i < times; ++i) {
        const SystemCalls now = CallsToMark(counter, sockets[0]);
        calls.push_back(now - before);
        calls.back().own -= 1;  // the mark
        before = now;
    }
    (void)counter.Run([] { return false; });
    (void)close(sockets[0]);
    (void)close(sockets[1]);
    return calls;
}

}  // namespace kxbench
