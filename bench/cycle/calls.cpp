#include "calls.h"

#include "child.h"
#include "cycle_report.h"
#include "lines.h"
#include "report.h"
#include "system_calls.h"

namespace {

using kxbench::SystemCalls;

constexpr std::size_t kCycles = 7;
constexpr int kPeriodMs = 300;
constexpr double kCallsOfMeter = 4;  // of which each counted cycle has one

// Of the next cycle, to the writing of its line.
SystemCalls CountCycle(kxbench::SystemCallCounter& counter, kxbench::Lines& lines) {
    const SystemCalls before = counter.calls();
    if (!counter.Run([&lines] { return lines.HasNext(); })) {
        kxbench::Fail("what is counted has ended");
    }
    (void)kxbench::NextCost(lines);
    SystemCalls calls = counter.calls() - before;
    calls.own -= kCallsOfMeter;
    return calls;
}

std::vector<SystemCalls> CountFloor(const std::string& installation) {
    kxbench::Lines lines;
    const kxbench::Child floor(installation + "/bin/bench_floor", {},
                               kxbench::MeteredFloor(lines, kPeriodMs));
    (void)kxbench::NextCost(lines);
    kxbench::SystemCallCounter counter(floor.pid());
    (void)CountCycle(counter, lines);  // from the middle of a cycle
    std::vector<SystemCalls> calls;
    while (calls.size() < kCycles) {
        calls.push_back(CountCycle(counter, lines));
    }
    return calls;
}

void Report(const CycleKind& kind, const std::vector<SystemCalls>& host,
            const std::vector<SystemCalls>& floor) {
    const auto report = [&](const char* what, const char* unit, double SystemCalls::*count) {
        kxbench::Row row{
            .name = kind.name + what, .unit = unit, .samples = {}, .floor = kxbench::kCycleFloor};
        for (const SystemCalls& calls : host) {
            row.samples.push_back(calls.*count);
        }
        for (const SystemCalls& calls : floor) {
            row.floor_samples.push_back(calls.*count);
        }
        kxbench::Report(row);
    };
    report("system calls of the host", "calls", &SystemCalls::own);
    report("system calls of its children", "calls", &SystemCalls::of_children);
    report("child processes", "processes", &SystemCalls::children);
}

}  // namespace

void MeasureCalls(const std::string& installation, const std::vector<CycleKind>& kinds) {
    const std::vector<SystemCalls> floor = CountFloor(installation);
    kxbench::Lines lines;
    kxbench::Agent agent(installation, 2, kxbench::MeteredHost(installation, lines, kPeriodMs));
    agent.Settle();
    kxbench::SystemCallCounter counter(agent.host());
    // To the end of a cycle and of its upload.
    (void)CountCycle(counter, lines);
    for (int cycles = 1; agent.uploads() < cycles || lines.HasNext();) {
        if (lines.HasNext()) {
            (void)kxbench::NextCost(lines);
            ++cycles;
        } else {
            (void)agent.NextUpload();
        }
    }
    for (const CycleKind& kind : kinds) {
        std::vector<SystemCalls> host;
        while (host.size() < kCycles) {
            agent.Prepare(kind.content);
            const SystemCalls calls = CountCycle(counter, lines);
            if (agent.IsNextUpload(kind.content)) {
                host.push_back(calls);
            }
        }
        Report(kind, host, floor);
    }
}
