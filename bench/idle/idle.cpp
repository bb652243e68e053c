// What a worker costs that has nothing to do: a thread that waits in cl_event_loop_once with the
// module's timer of 40 s, and beside it, in the same time, a thread that sleeps 100 ms and looks
// again. Both are watched from outside, so that watching costs them nothing.
//
//   bench_idle [SECONDS]    how long; 85 when not given, which sees two ticks of the timer
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>

#include "cl_ev.h"
#include "report.h"

namespace {

constexpr int kDefaultSeconds = 85;
constexpr int kTimerMs = 40000;
constexpr unsigned kSleepUs = 100000;

std::atomic<bool> stopping{false};
std::atomic<int> ticks{0};

struct Watched {
    pthread_t thread{};
    std::atomic<pid_t> id{0};
};

void* WaitInTheLoop(void* argument) {
    (void)cl_timerplus_start(
        0, kTimerMs, [](cl_timerplus*) { ++ticks; }, nullptr);
    static_cast<Watched*>(argument)->id = gettid();
    while (!stopping) {
        (void)cl_event_loop_once();
    }
    return nullptr;
}

void* SleepAndLook(void* argument) {
    static_cast<Watched*>(argument)->id = gettid();
    while (!stopping) {
        (void)usleep(kSleepUs);
    }
    return nullptr;
}

double CpuSeconds(const Watched& watched) {
    clockid_t clock{};
    timespec used{};
    if (pthread_getcpuclockid(watched.thread, &clock) != 0 || clock_gettime(clock, &used) != 0) {
        kxbench::Fail("cannot read a thread's processor time");
    }
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

// How often the thread has begun to wait, and so how often it was woken.
double Waits(const Watched& watched) {
    std::ifstream status("/proc/self/task/" + std::to_string(watched.id) + "/status");
    for (std::string word; status >> word;) {
        double count = 0;
        if (word == "voluntary_ctxt_switches:" && status >> count) {
            return count;
        }
    }
    kxbench::Fail("cannot read a thread's context switches");
}

struct Sample {
    double cpu_seconds;
    double waits;
};

Sample Take(const Watched& watched) {
    return {CpuSeconds(watched), Waits(watched)};
}

Sample PerHour(const Sample& before, const Sample& after, int seconds) {
    const double windows = 3600.0 / seconds;
    return {(after.cpu_seconds - before.cpu_seconds) * windows,
            (after.waits - before.waits) * windows};
}

void WaitUntilRunning(const Watched& watched) {
    while (watched.id == 0) {
        (void)usleep(1000);
    }
}

}  // namespace

int main(int argc, char** argv) {
    // NOLINTNEXTLINE(cert-err34-c): 0 for what is no number
    const int seconds = argc > 1 ? std::atoi(argv[1]) : kDefaultSeconds;
    if (seconds < 1) {
        kxbench::Fail("usage: bench_idle [SECONDS]");
    }
    Watched waiting;
    Watched sleeping;
    if (cl_ev_create_isolated_thread(&waiting.thread, 0, WaitInTheLoop, &waiting) != 0 ||
        pthread_create(&sleeping.thread, nullptr, SleepAndLook, &sleeping) != 0) {
        kxbench::Fail("cannot make a thread");
    }
    WaitUntilRunning(waiting);
    WaitUntilRunning(sleeping);
    (void)sleep(1);  // past what only the beginning costs

    const Sample waiting_before = Take(waiting);
    const Sample sleeping_before = Take(sleeping);
    (void)sleep(static_cast<unsigned>(seconds));
    const Sample waiting_hour = PerHour(waiting_before, Take(waiting), seconds);
    const Sample sleeping_hour = PerHour(sleeping_before, Take(sleeping), seconds);
    stopping = true;
    cl_event_loop_wake(waiting.thread);
    (void)pthread_join(waiting.thread, nullptr);
    (void)pthread_join(sleeping.thread, nullptr);

    kxbench::Report("idle worker: ticks of its timer in the window", ticks, "ticks");
    kxbench::Report("idle worker: processor time an hour", waiting_hour.cpu_seconds, "s",
                    "loop of 100 ms sleeps", sleeping_hour.cpu_seconds);
    kxbench::Report("idle worker: wake-ups an hour", waiting_hour.waits, "wake-ups",
                    "loop of 100 ms sleeps", sleeping_hour.waits);
    return EXIT_SUCCESS;
}
