// The named lock between processes.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "installation.h"
#include "kxe_glock.h"
#include "lock_handle.h"

using kxtest::ExitOf;
using kxtest::InChild;

namespace {

constexpr char kName[] = "between processes";
constexpr unsigned kLongMs = 60000;  // a guard against hanging

// A child that acquired the lock with a handle of its own and keeps it until it is killed.
pid_t HolderOfTheLock() {
    std::array<int, 2> channel = {};
    EXPECT_EQ(pipe(channel.data()), 0);
    const pid_t holder = InChild([&] {
        kxe_glock* lock = nullptr;
        if (kxe_glock_init(kName, &lock) != 0 || kxe_glock_acquire_timeout(lock, kLongMs) != 0 ||
            write(channel[1], "x", 1) != 1) {
            return 1;
        }
        for (;;) {
            pause();
        }
    });
    close(channel[1]);
    char acquired = 0;
    EXPECT_EQ(read(channel[0], &acquired, 1), 1);
    close(channel[0]);
    return holder;
}

}  // namespace

using GlockProcess = kxtest::InstallationTest;

TEST_F(GlockProcess, ExcludesAnotherProcess) {
    const pid_t holder = HolderOfTheLock();
    const LockHandle lock(kName);
    EXPECT_EQ(kxe_glock_acquire_timeout(lock.Get(), 50), ETIMEDOUT);
    kill(holder, SIGKILL);
    EXPECT_EQ(ExitOf(holder), -SIGKILL);
}

TEST_F(GlockProcess, AKilledHolderFreesTheLock) {
    const pid_t holder = HolderOfTheLock();
    const LockHandle lock(kName);
    ASSERT_EQ(kxe_glock_acquire_timeout(lock.Get(), 0), ETIMEDOUT);
    kill(holder, SIGKILL);
    EXPECT_EQ(kxe_glock_acquire_timeout(lock.Get(), kLongMs), 0);
    EXPECT_EQ(ExitOf(holder), -SIGKILL);
}

TEST_F(GlockProcess, AHeldLockIsFreedForAWaitingProcess) {
    const LockHandle lock(kName);
    ASSERT_EQ(kxe_glock_acquire_timeout(lock.Get(), 0), 0);
    const pid_t waiter = InChild([] {
        kxe_glock* own = nullptr;
        return kxe_glock_init(kName, &own) == 0 && kxe_glock_acquire_timeout(own, kLongMs) == 0 ? 0
                                                                                                : 1;
    });
    kxe_glock_release(lock.Get());
    EXPECT_EQ(ExitOf(waiter), 0);
}

TEST_F(GlockProcess, AChildThatWasForkedWhileItWasHeldDoesNotKeepItAfterARelease) {
    const LockHandle lock(kName);
    const LockHandle other(kName);
    ASSERT_EQ(kxe_glock_acquire_timeout(lock.Get(), 0), 0);
    const pid_t child = InChild([] {
        for (;;) {
            pause();
        }
        return 0;
    });
    kxe_glock_release(lock.Get());
    EXPECT_EQ(kxe_glock_acquire_timeout(other.Get(), 0), 0);
    kill(child, SIGKILL);
    EXPECT_EQ(ExitOf(child), -SIGKILL);
}

// Each process reads a number, and writes it one higher, many times; without exclusion some of the
// changes would be lost. The lock's file is removed again and again meanwhile.
TEST_F(GlockProcess, NoTwoAreEverInside) {
    constexpr int kProcesses = 4;
    constexpr int kTurns = 100;
    const std::string counter = kxtest::WriteFile("counter", "0");
    const std::string file = kxtest::InstallationRoot() / "var/run/lock/between%20processes.lock";
    std::vector<pid_t> children;
    for (int i = 0; i < kProcesses; ++i) {
        children.push_back(InChild([&] {
            kxe_glock* lock = nullptr;
            if (kxe_glock_init(kName, &lock) != 0) {
                return 1;
            }
            for (int turn = 0; turn < kTurns; ++turn) {
                if (kxe_glock_acquire_timeout(lock, kLongMs) != 0) {
                    return 2;
                }
                const int value = std::atoi(kxtest::ReadFile(counter).c_str());
                std::this_thread::yield();
                kxtest::WriteFile("counter", std::to_string(value + 1));
                if (turn % 10 == 0) {
                    (void)unlink(file.c_str());
                }
                kxe_glock_release(lock);
            }
            return 0;
        }));
    }
    for (const pid_t child : children) {
        EXPECT_EQ(ExitOf(child), 0);
    }
    EXPECT_EQ(kxtest::ReadFile(counter), std::to_string(kProcesses * kTurns));
}

// The kernel interrupts sleeps, and nobody must take that for the lock or for its time-out.
TEST_F(GlockProcess, SignalsDoNotEndTheWait) {
    const pid_t holder = HolderOfTheLock();
    struct sigaction action = {};
    action.sa_handler = [](int) {};  // without SA_RESTART
    struct sigaction before = {};
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    const pid_t pest = InChild([parent = getpid()] {
        while (kill(parent, SIGUSR1) == 0) {
            usleep(500);
        }
        return 0;
    });
    const LockHandle lock(kName);
    EXPECT_EQ(kxe_glock_acquire_timeout(lock.Get(), 100), ETIMEDOUT);
    kill(holder, SIGKILL);
    EXPECT_EQ(kxe_glock_acquire_timeout(lock.Get(), kLongMs), 0);
    kill(pest, SIGKILL);
    while (waitpid(pest, nullptr, 0) < 0 && errno == EINTR) {
    }
    EXPECT_EQ(sigaction(SIGUSR1, &before, nullptr), 0);
    EXPECT_EQ(ExitOf(holder), -SIGKILL);
}
