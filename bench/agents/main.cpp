// What many agents on one machine cost together, at the default interval and in real time: each has
// an installation, a bus and a manager of its own, and they begin one after another. Beside them a
// few of the program that does only what cannot be avoided, at the same interval. Managers do not
// count; of memory, what they share with the hosts is divided among all of them.
//
//   bench_agents    from the bin directory of an installation; about 310 seconds
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "child.h"
#include "cycle_report.h"
#include "fleet.h"
#include "lines.h"
#include "memory_use.h"
#include "report.h"

namespace {

constexpr double kInterval = 40;  // seconds
constexpr int kLongestWaitMs = 100000;
constexpr int kMostFloors = 10;
constexpr double kPercentBudget = 1;
constexpr double kMemoryBudget = 4.5 * 1024;  // kB

struct Size {
    int agents;
    double spread_seconds;  // an interval at most; cycles last one second
    int intervals;          // that are watched
};

constexpr int kMostAgents = 200;
constexpr Size kSizes[] = {{1, 1, 1}, {10, 10, 1}, {50, 20, 1}, {kMostAgents, 40, 2}};

using Children = std::vector<std::unique_ptr<kxbench::Child>>;

// One a second, so that their cycles do not meet.
Children StartFloors(int count, const kxbench::Lines& lines) {
    Children floors;
    for (int i = 0; i < count; ++i) {
        (void)sleep(1);
        floors.push_back(std::make_unique<kxbench::Child>(
            kxbench::OwnInstallation() + "/bin/bench_floor", std::vector<std::string>{},
            kxbench::MeteredFloor(lines, 0)));
    }
    return floors;
}

// Of each process one cycle.
kxbench::CycleCosts NextCosts(kxbench::Lines& lines, int processes) {
    kxbench::CycleCosts costs;
    for (int i = 0; i < processes; ++i) {
        costs.push_back(kxbench::NextCost(lines, kLongestWaitMs));
    }
    return costs;
}

// Of one processor, by that many agents of which each costs the mean of these once an interval.
struct Share {
    double own = 0;
    double with_children = 0;
};

Share ShareOf(const kxbench::CycleCosts& costs, int agents) {
    const double each = 100.0 * agents / (static_cast<double>(costs.size()) * kInterval * 1e6);
    Share share;
    for (const kxbench::CycleCost& cost : costs) {
        share.own += cost.own * each;
        share.with_children += (cost.own + cost.children) * each;
    }
    return share;
}

// Of all cycles, and of each interval.
struct Costs {
    kxbench::CycleCosts cycles;
    std::vector<double> own;  // %
    std::vector<double> with_children;
};

// In the next intervals, of that many processes that stand for the agents.
Costs Watch(kxbench::Lines& lines, int processes, const Size& size) {
    Costs costs;
    for (int interval = 0; interval < size.intervals; ++interval) {
        const kxbench::CycleCosts cycles = NextCosts(lines, processes);
        const Share share = ShareOf(cycles, size.agents);
        costs.own.push_back(share.own);
        costs.with_children.push_back(share.with_children);
        costs.cycles.insert(costs.cycles.end(), cycles.begin(), cycles.end());
    }
    return costs;
}

// In kB, one number an agent.
std::vector<double> Memory(const Fleet& fleet) {
    std::vector<double> memory;
    for (const pid_t host : fleet.hosts()) {
        memory.push_back(ReadMemoryUse(host).proportional);
    }
    return memory;
}

void ReportShare(const std::string& name, const std::vector<double>& hosts,
                 const std::vector<double>& floors) {
    kxbench::Report({.name = name,
                     .unit = "%",
                     .samples = hosts,
                     .floor = kxbench::kCycleFloor,
                     .floor_samples = floors});
}

void Report(const Size& size, const Costs& hosts, const Costs& floors,
            const std::vector<double>& memory) {
    const std::string name =
        std::to_string(size.agents) + (size.agents == 1 ? " agent: " : " agents: ");
    const std::string share = name + "share of one processor";
    ReportShare(share, hosts.with_children, floors.with_children);
    ReportShare(share + ", child processes aside", hosts.own, floors.own);
    kxbench::Report(kxbench::WithinBudget(name + "proportional memory (PSS) of each", "kB", memory,
                                          kMemoryBudget));
    kxbench::Report({.name = name + "proportional memory (PSS) of all",
                     .unit = "kB",
                     .samples = {std::accumulate(memory.begin(), memory.end(), 0.0)}});
    if (size.agents == kMostAgents) {
        kxbench::Report(
            kxbench::WithinBudget(share + ", at most", "%", hosts.with_children, kPercentBudget));
        kxbench::ReportCosts(name + "a cycle, ", hosts.cycles, floors.cycles);
    }
}

// The first cycle of each process is its start, and does not count.
void Measure(const Size& size) {
    kxbench::Lines host_lines;
    kxbench::Lines floor_lines;
    const int floor_count = std::min(size.agents, kMostFloors);
    const Fleet fleet(size.agents, size.spread_seconds, host_lines);
    const Children floors = StartFloors(floor_count, floor_lines);
    (void)NextCosts(host_lines, size.agents);
    (void)NextCosts(floor_lines, floor_count);
    const Costs of_hosts = Watch(host_lines, size.agents, size);
    const Costs of_floors = Watch(floor_lines, floor_count, size);
    Report(size, of_hosts, of_floors, Memory(fleet));
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("agents", argc, argv);
    for (const Size& size : kSizes) {
        Measure(size);
    }
    return EXIT_SUCCESS;
}
