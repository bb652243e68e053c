#include "collectors/leftbehind.h"

#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace {

constexpr int kNone = -1;

using Processes = std::array<int, kMostLeftBehind>;  // descriptors

constexpr Processes NoProcesses() {
    Processes none{};
    none.fill(kNone);
    return none;
}

constinit Processes left_behind = NoProcesses();

// Also when somebody else has waited for it.
bool HasEnded(int process) {
    siginfo_t status{};
    return waitid(P_PIDFD, static_cast<id_t>(process), &status, WEXITED | WNOHANG) != 0 ||
           status.si_pid != 0;
}

template <class Condition>
void CloseWhere(Condition condition) {
    for (int& process : left_behind) {
        if (process != kNone && condition(process)) {
            (void)close(std::exchange(process, kNone));
        }
    }
}

}  // namespace

void LeaveBehind(pid_t child) {
    const auto place = std::find(left_behind.begin(), left_behind.end(), kNone);
    if (place != left_behind.end()) {
        // The C library's header for it is for C alone. -1, which is kNone, where there is none.
        *place = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
    }
}

void ReapLeftBehind() {
    CloseWhere(HasEnded);
}

void ForgetLeftBehind() {
    ReapLeftBehind();
    CloseWhere([](int) { return true; });
}
