// What a host with the module keeps in memory, after its third cycle and after its thousandth, of
// which one soon follows another. Beside it the program that does only what cannot be avoided, and
// the same host with a module that does nothing.
//
//   bench_memory    from the bin directory of an installation, whose settings it writes
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "agent.h"
#include "child.h"
#include "cycle_report.h"
#include "lines.h"
#include "memory_use.h"
#include "notification.h"
#include "report.h"

namespace {

constexpr int kRounds = 7;
constexpr int kFewCycles = 3;
constexpr int kManyCycles = 1000;
constexpr int kPeriodMs = 10;
constexpr double kBudget = 4.5 * 1024;  // kB
constexpr useconds_t kSettleUs = 300000;

using MemoryUses = std::vector<MemoryUse>;

// Of the host after few cycles and after many. It goes on meanwhile.
void MeasureHost(const std::string& installation, MemoryUses& few, MemoryUses& many) {
    kxbench::Lines lines;
    kxbench::Agent agent(installation, 2, kxbench::MeteredHost(installation, lines, kPeriodMs));
    for (int cycle = 1; cycle <= kManyCycles; ++cycle) {
        agent.NextUpload();
        (void)kxbench::NextCost(lines);
        if (cycle == kFewCycles) {
            few.push_back(ReadMemoryUse(agent.host()));
        }
    }
    many.push_back(ReadMemoryUse(agent.host()));
}

MemoryUse MeasureFloor(const std::string& installation) {
    kxbench::Lines lines;
    const kxbench::Child floor(installation + "/bin/bench_floor", {},
                               kxbench::MeteredFloor(lines, kPeriodMs));
    for (int cycle = 0; cycle < kFewCycles; ++cycle) {
        (void)kxbench::NextCost(lines);
    }
    return ReadMemoryUse(floor.pid());
}

MemoryUse MeasureEmpty(const std::string& installation) {
    const kxbench::Notification notification;
    const kxbench::Child host(installation + "/bin/kxehost",
                              {"--module", installation + "/bin/libbench_empty_module.so"},
                              {notification.Variable()});
    notification.WaitUntilReady();
    (void)usleep(kSettleUs);
    return ReadMemoryUse(host.pid());
}

std::vector<double> Values(const MemoryUses& uses, double MemoryUse::*figure) {
    std::vector<double> values;
    for (const MemoryUse& use : uses) {
        values.push_back(use.*figure);
    }
    return values;
}

void Report(const std::string& when, const MemoryUses& host, const MemoryUses& floor) {
    kxbench::Report(kxbench::WithinBudget(when + "proportional memory (PSS)", "kB",
                                          Values(host, &MemoryUse::proportional), kBudget));
    kxbench::Report({.name = when + "private memory",
                     .unit = "kB",
                     .samples = Values(host, &MemoryUse::own),
                     .floor = kxbench::kCycleFloor,
                     .floor_samples = Values(floor, &MemoryUse::own)});
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("memory", argc, argv);
    const std::string installation = kxbench::OwnInstallation();
    MemoryUses few;
    MemoryUses many;
    MemoryUses empty;
    MemoryUses floor;
    for (int round = 0; round < kRounds; ++round) {
        MeasureHost(installation, few, many);
        empty.push_back(MeasureEmpty(installation));
        floor.push_back(MeasureFloor(installation));
    }
    Report("after 3 cycles: ", few, floor);
    Report("after 1000 cycles: ", many, floor);
    kxbench::Report({.name = "host without the module: private memory",
                     .unit = "kB",
                     .samples = Values(empty, &MemoryUse::own),
                     .floor = kxbench::kCycleFloor,
                     .floor_samples = Values(floor, &MemoryUse::own)});
    return EXIT_SUCCESS;
}
