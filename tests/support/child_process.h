// Work in a process of its own, forked off the test.
#ifndef KXEPINFO_TESTS_SUPPORT_CHILD_PROCESS_H
#define KXEPINFO_TESTS_SUPPORT_CHILD_PROCESS_H

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

namespace kxtest {

// Runs `work` in a child process that dies with this one; its result is the exit code.
inline pid_t InChild(const std::function<int()>& work) {
    const pid_t child = fork();
    if (child == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        _exit(work());
    }
    EXPECT_GT(child, 0);
    return child;
}

// Waits for the child's end: its exit code, or the negative number of the signal that ended it.
inline int ExitOf(pid_t child) {
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_CHILD_PROCESS_H
