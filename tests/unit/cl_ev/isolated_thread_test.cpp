// cl_ev_create_isolated_thread.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <set>
#include <string>

#include "cl_ev.h"
#include "on_isolated_thread.h"

namespace {

void* ReturnArgument(void* argument) {
    return argument;
}

// Runs `function` in a child process, whose limits and rights it may change; returns its result.
int InChild(const std::function<int()>& function) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(function());
    }
    int status = 0;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    EXPECT_TRUE(WIFEXITED(status)) << status;
    return WEXITSTATUS(status);
}

std::set<int> BlockedSignals() {
    sigset_t mask;
    sigemptyset(&mask);
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    std::set<int> blocked;
    for (int signal = 1; signal <= 31; ++signal) {
        if (sigismember(&mask, signal) == 1) {
            blocked.insert(signal);
        }
    }
    return blocked;
}

TEST(IsolatedThread, RunsTheEntryWithItsArgumentAndGivesItsResult) {
    pthread_t thread = {};
    int argument = 0;
    ASSERT_EQ(0, cl_ev_create_isolated_thread(&thread, 0, ReturnArgument, &argument));
    void* result = nullptr;
    ASSERT_EQ(0, pthread_join(thread, &result));
    EXPECT_EQ(&argument, result);
}

TEST(IsolatedThread, GivesAnIntegerResultCastToAPointer) {
    pthread_t thread = {};
    // NOLINTNEXTLINE(performance-no-int-to-ptr): that an integer survives is the point
    const auto entry = [](void*) { return reinterpret_cast<void*>(static_cast<long>(-1)); };
    ASSERT_EQ(0, cl_ev_create_isolated_thread(&thread, 0, entry, nullptr));
    void* result = nullptr;
    ASSERT_EQ(0, pthread_join(thread, &result));
    EXPECT_EQ(-1, static_cast<int>(reinterpret_cast<long>(result)));
}

TEST(IsolatedThread, HasItsHandleStoredBeforeTheEntryRuns) {
    pthread_t thread = {};
    const auto entry = [](void* stored) -> void* {
        return pthread_equal(*static_cast<pthread_t*>(stored), pthread_self()) != 0 ? stored
                                                                                    : nullptr;
    };
    ASSERT_EQ(0, cl_ev_create_isolated_thread(&thread, 0, entry, &thread));
    void* result = nullptr;
    ASSERT_EQ(0, pthread_join(thread, &result));
    EXPECT_EQ(&thread, result);
}

TEST(IsolatedThread, BlocksEverySignalButFaults) {
    std::set<int> expected;
    for (int signal = 1; signal <= 31; ++signal) {
        expected.insert(signal);
    }
    for (const int open : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGKILL, SIGSTOP}) {
        expected.erase(open);
    }
    OnIsolatedThread([&expected] { EXPECT_EQ(expected, BlockedSignals()); });
}

TEST(IsolatedThread, LeavesTheCreatorsSignalMaskAlone) {
    sigset_t mask;
    sigemptyset(&mask);
    sigaddset(&mask, SIGUSR2);
    ASSERT_EQ(0, pthread_sigmask(SIG_SETMASK, &mask, nullptr));
    OnIsolatedThread([] {});
    EXPECT_EQ(std::set<int>{SIGUSR2}, BlockedSignals());
}

TEST(IsolatedThread, AHandlerOfTheHostRunsElsewhere) {
    static pthread_t handled_on;
    static volatile sig_atomic_t handled;
    struct sigaction action = {};
    action.sa_handler = [](int) {
        handled_on = pthread_self();
        handled = 1;
    };
    ASSERT_EQ(0, sigaction(SIGTERM, &action, nullptr));
    OnIsolatedThread([] { EXPECT_EQ(0, kill(getpid(), SIGTERM)); });
    while (handled == 0) {
    }
    EXPECT_NE(0, pthread_equal(pthread_self(), handled_on));
}

TEST(IsolatedThread, HasANameOfItsOwn) {
    OnIsolatedThread([] {
        char name[16] = "";
        ASSERT_EQ(0, pthread_getname_np(pthread_self(), name, sizeof name));
        EXPECT_STREQ("cl_ev", name);
    });
}

TEST(IsolatedThread, RefusesBadArguments) {
    pthread_t thread = {};
    EXPECT_EQ(EINVAL, cl_ev_create_isolated_thread(nullptr, 0, ReturnArgument, nullptr));
    EXPECT_EQ(EINVAL, cl_ev_create_isolated_thread(&thread, 0, nullptr, nullptr));
    EXPECT_EQ(EINVAL, cl_ev_create_isolated_thread(&thread, 1, ReturnArgument, nullptr));
    EXPECT_EQ(pthread_t{}, thread);
}

TEST(IsolatedThread, ThatTheSystemRefusesGivesItsErrorAndLeavesTheHandleAlone) {
    const int result = InChild([] {
        const rlimit none = {0, 0};
        // The superuser is exempt from the limit.
        if ((geteuid() == 0 && setuid(65534) != 0) || setrlimit(RLIMIT_NPROC, &none) != 0) {
            return 1;
        }
        pthread_t thread = {};
        const std::set<int> before = BlockedSignals();
        const int code = cl_ev_create_isolated_thread(&thread, 0, ReturnArgument, nullptr);
        return code == EAGAIN && thread == pthread_t{} && BlockedSignals() == before ? 0 : 2;
    });
    EXPECT_EQ(0, result);
}

TEST(IsolatedThread, WithoutDescriptorsLeftGivesAnError) {
    const int result = InChild([] {
        const rlimit none = {3, 3};
        if (setrlimit(RLIMIT_NOFILE, &none) != 0) {
            return 1;
        }
        pthread_t thread = {};
        const int code = cl_ev_create_isolated_thread(&thread, 0, ReturnArgument, nullptr);
        return code == EMFILE && thread == pthread_t{} ? 0 : 2;
    });
    EXPECT_EQ(0, result);
}

// Whatever their number, also when libuv's own would not all find room.
TEST(IsolatedThread, WithFewDescriptorsLeftGivesAnErrorOrRuns) {
    for (rlim_t limit = 3; limit < 16; ++limit) {
        const int result = InChild([limit] {
            const rlimit few = {limit, limit};
            if (setrlimit(RLIMIT_NOFILE, &few) != 0) {
                return 1;
            }
            pthread_t thread = {};
            const int code = cl_ev_create_isolated_thread(&thread, 0, ReturnArgument, nullptr);
            return code == EMFILE || (code == 0 && pthread_join(thread, nullptr) == 0) ? 0 : 2;
        });
        EXPECT_EQ(0, result) << limit;
    }
}

std::set<int> OpenDescriptors() {
    std::set<int> open;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        open.insert(std::stoi(entry.path().filename()));
    }
    return open;
}

TEST(IsolatedThread, EveryDescriptorOfItsLoopIsClosedOnExec) {
    const std::set<int> before = OpenDescriptors();
    OnIsolatedThread([&before] {
        int seen = 0;
        for (const int descriptor : OpenDescriptors()) {
            const int flags = fcntl(descriptor, F_GETFD);  // -1: what the listing itself had open
            if (flags != -1 && !before.contains(descriptor)) {
                EXPECT_EQ(FD_CLOEXEC, flags) << descriptor;
                ++seen;
            }
        }
        EXPECT_GE(seen, 2);  // at least what it waits with and what it is woken with
    });
}

}  // namespace
