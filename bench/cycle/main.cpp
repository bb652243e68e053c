// What a whole collection cycle costs in an agent that runs: host, bus and manager. Once with the
// clocks read in the host after each cycle, and once more with its system calls counted from
// outside, which takes too long to tell times. Beside each the two programs that every cycle starts
// for the system facts, started alone, in the pauses between the cycles.
//
//   bench_cycle    from the bin directory of an installation, whose settings it writes
#include <sys/types.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "agent.h"
#include "commands.h"
#include "lines.h"
#include "processor_time.h"
#include "report.h"
#include "system_calls.h"

namespace {

constexpr int kTimedCycles = 11;
constexpr int kCountedCycles = 7;
constexpr char kReference[] = "popen of the two commands";

// Agent facts are repeated in the 16th upload without, so all cycles of nothing come first.
constexpr std::pair<Content, const char*> kStates[] = {
    {Content::kNothingElse, "cycle, nothing changed: "},
    {Content::kAgentFacts, "cycle, agent facts uploaded: "}};

// In microseconds, one entry a cycle.
struct Times {
    std::vector<double> wall;
    std::vector<double> own;
    std::vector<double> with_children;
};

void AddReference(const std::string& programs, Times& times) {
    const auto begin = std::chrono::steady_clock::now();
    const double own = kxbench::OwnProcessorTime();
    const double both = kxbench::ProcessorTime();
    kxbench::RunSystemCommands(programs);
    times.own.push_back(kxbench::OwnProcessorTime() - own);
    times.with_children.push_back(kxbench::ProcessorTime() - both);
    const std::chrono::duration<double, std::micro> wall = std::chrono::steady_clock::now() - begin;
    times.wall.push_back(wall.count());
}

void AddCycle(const std::string& line, Times& times) {
    double wall = 0;
    double own = 0;
    double children = 0;
    if (std::sscanf(line.c_str(), "%lf %lf %lf", &wall, &own, &children) != 3) {
        kxbench::Fail("not from the cycle clock: " + line);
    }
    times.wall.push_back(wall);
    times.own.push_back(own);
    times.with_children.push_back(own + children);
}

void Report(const std::string& what, const std::vector<double>& times,
            const std::vector<double>& reference) {
    kxbench::Report({.name = what,
                     .unit = "us",
                     .samples = times,
                     .floor = kReference,
                     .floor_samples = reference});
}

void MeasureTimes(const std::string& installation, const std::string& clock_library) {
    Lines clock;
    Agent agent(installation, {"LD_PRELOAD=" + clock_library,
                               "KX_CYCLE_CLOCK=" + std::to_string(clock.WritingEnd())});
    // The first cycle runs before there is a timer.
    for (int i = 1; i < agent.uploads(); ++i) {
        (void)clock.Next();
    }
    for (const auto& [content, name] : kStates) {
        Times cycles;
        Times reference;
        for (int i = 0; i < kTimedCycles; ++i) {
            AddReference(installation + "/bin", reference);
            if (content == Content::kAgentFacts) {
                agent.ChangeVersion();
            }
            agent.NextUpload(content);
            AddCycle(clock.Next(), cycles);
        }
        Report(std::string(name) + "wall time beyond sampling", cycles.wall, reference.wall);
        Report(std::string(name) + "processor time of the host", cycles.own, reference.own);
        Report(std::string(name) + "processor time with children", cycles.with_children,
               reference.with_children);
    }
}

// Until the next upload has arrived.
void RunCycle(kxbench::SystemCallCounter& counter, Agent& agent, Content content) {
    if (content == Content::kAgentFacts) {
        agent.ChangeVersion();
    }
    if (!counter.Run([&agent] { return agent.HasUpload(); })) {
        kxbench::Fail("the host has ended");
    }
    agent.NextUpload(content);
}

using CallList = std::vector<kxbench::SystemCalls>;

std::vector<double> Values(const CallList& calls, double kxbench::SystemCalls::*count) {
    std::vector<double> values;
    for (const kxbench::SystemCalls& call : calls) {
        values.push_back(call.*count);
    }
    return values;
}

void ReportCalls(const std::string& name, const CallList& calls, const CallList& reference) {
    const auto report = [&](const char* what, const char* unit,
                            double kxbench::SystemCalls::*count) {
        kxbench::Report({.name = name + what,
                         .unit = unit,
                         .samples = Values(calls, count),
                         .floor = kReference,
                         .floor_samples = Values(reference, count)});
    };
    report("system calls of the host", "calls", &kxbench::SystemCalls::own);
    report("system calls of its children", "calls", &kxbench::SystemCalls::of_children);
    report("child processes", "processes", &kxbench::SystemCalls::children);
}

void MeasureCalls(const std::string& installation) {
    const CallList reference = kxbench::CountSystemCalls(
        [&] { kxbench::RunSystemCommands(installation + "/bin"); }, kCountedCycles);
    Agent agent(installation, {});
    kxbench::SystemCallCounter counter(agent.host());
    for (const auto& [content, name] : kStates) {
        RunCycle(counter, agent, content);  // from the middle of a cycle
        CallList calls;
        for (int i = 0; i < kCountedCycles; ++i) {
            const kxbench::SystemCalls before = counter.calls();
            RunCycle(counter, agent, content);
            calls.push_back(counter.calls() - before);
        }
        ReportCalls(name, calls, reference);
    }
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("cycle", argc, argv);
    const std::string installation = kxbench::OwnInstallation();
    MeasureTimes(installation, installation + "/bin/libbench_cycle_clock.so");
    MeasureCalls(installation);
    return EXIT_SUCCESS;
}
