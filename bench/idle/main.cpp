// What an agent costs that has slept: host, bus and manager at the default interval, in real time,
// and beside them the program that does only what cannot be avoided, half an interval later, so
// that both have been idle for the same 39 seconds before each cycle. Memory that was cold by then
// makes a cycle dearer than those that follow one another (bench/cycle). Between the cycles: what
// is used, and how often a thread wakes.
//
//   bench_idle    from the bin directory of an installation, whose settings it writes; 350 seconds
#include <unistd.h>

#include <cstdlib>
#include <future>
#include <string>
#include <vector>

#include "agent.h"
#include "child.h"
#include "cycle_report.h"
#include "lines.h"
#include "report.h"
#include "watched.h"

namespace {

constexpr int kInterval = 40;
constexpr int kCycles = 7;
constexpr int kLongestWaitMs = 2 * kInterval * 1000;
// The part of the interval that is watched: after all that follows from a cycle, and long before
// the next.
constexpr unsigned kSettleSeconds = 2;
constexpr unsigned kWatchedSeconds = 32;

struct Seen {
    kxbench::CycleCosts cycles;
    std::vector<double> idle_seconds;  // of processor time an hour
    std::vector<double> wake_ups;      // a minute
};

// For seven cycles after the next, which does not count.
Seen Watch(pid_t process, kxbench::Lines& lines) {
    const Watched watched(process);
    Seen seen;
    (void)kxbench::NextCost(lines, kLongestWaitMs);
    for (int i = 0; i < kCycles; ++i) {
        (void)sleep(kSettleSeconds);
        const Use before = watched.Read();
        (void)sleep(kWatchedSeconds);
        const Use after = watched.Read();
        seen.idle_seconds.push_back((after.cpu_seconds - before.cpu_seconds) * 3600 /
                                    kWatchedSeconds);
        seen.wake_ups.push_back((after.wake_ups - before.wake_ups) * 60 / kWatchedSeconds);
        seen.cycles.push_back(kxbench::NextCost(lines, kLongestWaitMs));
    }
    return seen;
}

void Report(const Seen& host, const Seen& floor) {
    constexpr double kSecondsAnHour = 0.05;
    kxbench::ReportCosts("after 39 s idle: ", host.cycles, floor.cycles);
    kxbench::Report(kxbench::WithinBudget("between cycles: processor time an hour", "s",
                                          host.idle_seconds, kSecondsAnHour));
    kxbench::Report({.name = "between cycles: wake-ups a minute",
                     .unit = "wake-ups",
                     .samples = host.wake_ups,
                     .floor = kxbench::kCycleFloor,
                     .floor_samples = floor.wake_ups,
                     .target = 1});
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("idle", argc, argv);
    const std::string installation = kxbench::OwnInstallation();
    kxbench::Lines host_lines;
    kxbench::Lines floor_lines;
    kxbench::Agent agent(installation, kInterval,
                         kxbench::MeteredHost(installation, host_lines, 0));
    (void)kxbench::NextCost(host_lines);
    (void)sleep(kInterval / 2);
    const kxbench::Child floor(installation + "/bin/bench_floor", {},
                               kxbench::MeteredFloor(floor_lines, 0));
    (void)kxbench::NextCost(floor_lines);
    std::future<Seen> of_host =
        std::async(std::launch::async, Watch, agent.host(), std::ref(host_lines));
    const Seen of_floor = Watch(floor.pid(), floor_lines);
    Report(of_host.get(), of_floor);
    return EXIT_SUCCESS;
}
