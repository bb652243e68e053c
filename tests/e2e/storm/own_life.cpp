#include "own_life.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <uv.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <thread>

namespace storm {
namespace {

constexpr std::chrono::seconds kHangGuard(15);  // for what takes milliseconds
constexpr long kTickMicroseconds = 5000;
constexpr std::array kHandled = {SIGALRM, SIGTERM, SIGCHLD, SIGPIPE, SIGUSR1};
constexpr int kWatchedByLoop = SIGUSR2;

struct OwnThread {
    std::atomic<unsigned> progress{0};
    std::atomic<unsigned long long> mask{0};
};

std::array<OwnThread, 3> threads;  // the last one runs the loop
std::array<std::atomic<unsigned>, NSIG> signals;
std::atomic<unsigned> handled_elsewhere{0};
thread_local bool is_own_thread = false;

unsigned long long MaskOfThisThread() {
    sigset_t set;
    pthread_sigmask(SIG_BLOCK, nullptr, &set);
    unsigned long long bits = 0;
    std::memcpy(&bits, &set, sizeof bits);  // the kernel's signals are the first 64
    return bits;
}

void OnSignal(int number) {
    const int error = errno;
    if (!is_own_thread) {
        ++handled_elsewhere;
    }
    if (number == SIGCHLD) {
        // As hosts do that have forgotten whose children they are.
        while (waitpid(-1, nullptr, WNOHANG) > 0) {
        }
    }
    ++signals[static_cast<std::size_t>(number)];
    errno = error;
}

void HandleSignals() {
    for (const int number : kHandled) {
        struct sigaction action {};
        action.sa_handler = OnSignal;
        sigaddset(&action.sa_mask, SIGURG);  // something to recognise it by
        sigaction(number, &action, nullptr);
    }
}

void BlockForThisThread(int number) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, number);
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

void See(OwnThread& self) {
    self.mask = MaskOfThisThread();
    ++self.progress;
}

void Work(OwnThread& self) {
    is_own_thread = true;
    BlockForThisThread(SIGWINCH);
    for (;;) {
        See(self);
        const std::string memory(1000 + self.progress % 1000, 'x');
        const timespec pause = {0, kTickMicroseconds * 1000};
        nanosleep(&pause, nullptr);
    }
}

void RunLoop(OwnThread& self) {
    is_own_thread = true;
    uv_loop_t loop;
    uv_timer_t timer;
    uv_signal_t watch;
    uv_loop_init(&loop);
    uv_timer_init(&loop, &timer);
    timer.data = &self;
    uv_timer_start(
        &timer, [](uv_timer_t* handle) { See(*static_cast<OwnThread*>(handle->data)); },
        kTickMicroseconds / 1000, kTickMicroseconds / 1000);
    uv_signal_init(&loop, &watch);
    uv_signal_start(
        &watch, [](uv_signal_t*, int number) { ++signals[static_cast<std::size_t>(number)]; },
        kWatchedByLoop);
    uv_run(&loop, UV_RUN_DEFAULT);
}

bool WaitFor(const std::function<bool()>& fact) {
    const auto deadline = std::chrono::steady_clock::now() + kHangGuard;
    while (!fact()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        const timespec pause = {0, 200'000};
        nanosleep(&pause, nullptr);
    }
    return true;
}

void WriteIntoBrokenPipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) == 0) {
        close(ends[0]);
        (void)!write(ends[1], "", 1);
        close(ends[1]);
    }
}

std::string NameOf(int number) {
    return std::string("SIG") + sigabbrev_np(number);
}

}  // namespace

void BeginOwnLife() {
    is_own_thread = true;
    HandleSignals();
    BlockForThisThread(SIGQUIT);
    std::thread(Work, std::ref(threads[0])).detach();
    std::thread(Work, std::ref(threads[1])).detach();
    std::thread(RunLoop, std::ref(threads[2])).detach();
    WaitFor([] {
        return threads[0].progress > 0 && threads[1].progress > 0 && threads[2].progress > 0;
    });
    const timeval tick = {0, kTickMicroseconds};
    const itimerval repeating = {tick, tick};
    setitimer(ITIMER_REAL, &repeating, nullptr);
}

std::vector<unsigned long long> MasksOfOwnThreads() {
    std::vector<unsigned long long> masks = {MaskOfThisThread()};
    for (const OwnThread& thread : threads) {
        masks.push_back(thread.mask);
    }
    return masks;
}

std::string WhatDoesNotLive() {
    std::array<unsigned, NSIG> signals_before{};
    std::copy(signals.begin(), signals.end(), signals_before.begin());
    std::array<unsigned, threads.size()> progress_before{};
    for (std::size_t i = 0; i < threads.size(); ++i) {
        progress_before[i] = threads[i].progress;
    }
    for (const int number : {SIGTERM, SIGCHLD, SIGUSR1, kWatchedByLoop}) {
        kill(getpid(), number);
    }
    WriteIntoBrokenPipe();
    std::string missing;
    for (const int number : {SIGALRM, SIGTERM, SIGCHLD, SIGPIPE, SIGUSR1, kWatchedByLoop}) {
        const auto index = static_cast<std::size_t>(number);
        if (!WaitFor([&] { return signals[index] != signals_before[index]; })) {
            missing += " " + NameOf(number);
        }
    }
    for (std::size_t i = 0; i < threads.size(); ++i) {
        if (!WaitFor([&] { return threads[i].progress != progress_before[i]; })) {
            missing += " thread " + std::to_string(i);
        }
    }
    return handled_elsewhere == 0 ? missing : missing + " own thread for a handler";
}

}  // namespace storm
