#include "cycle_report.h"

#include "report.h"

namespace kxbench {
namespace {

constexpr double kOwnTarget = 1.5;
// No dearer; two runs of the very same programs differ by as much.
constexpr double kChildrenTarget = 1.05;

template <class Figure>
void ReportFigure(const std::string& name, const char* unit, const CycleCosts& host,
                  const CycleCosts& floor, Figure figure, std::optional<double> target = {}) {
    Row row{.name = name, .unit = unit, .samples = {}, .floor = kCycleFloor, .target = target};
    for (const CycleCost& cost : host) {
        row.samples.push_back(figure(cost));
    }
    for (const CycleCost& cost : floor) {
        row.floor_samples.push_back(figure(cost));
    }
    Report(row);
}

}  // namespace

std::vector<std::string> MeteredFloor(const Lines& lines, int period_ms) {
    std::vector<std::string> environment = {"KX_CYCLE_CLOCK=" + std::to_string(lines.WritingEnd())};
    if (period_ms > 0) {
        environment.push_back("KX_CYCLE_PERIOD_MS=" + std::to_string(period_ms));
    }
    return environment;
}

std::vector<std::string> MeteredHost(const std::string& installation, const Lines& lines,
                                     int period_ms, const std::string& library) {
    std::vector<std::string> environment = MeteredFloor(lines, period_ms);
    environment.push_back("LD_PRELOAD=" + installation + "/bin/libbench_cycle_clock.so " + library);
    return environment;
}

CycleCost NextCost(Lines& lines, int longest_wait_ms) {
    const std::string line = lines.Next(longest_wait_ms);
    CycleCost cost;
    if (!ParseCycleCost(line.c_str(), cost)) {
        Fail("no cost of a cycle: " + line);
    }
    return cost;
}

void ReportCosts(const std::string& cycles, const CycleCosts& host, const CycleCosts& floor) {
    using Cost = CycleCost;
    const auto report = [&](const char* what, const char* unit, auto figure,
                            std::optional<double> target = {}) {
        ReportFigure(cycles + what, unit, host, floor, figure, target);
    };
    report(
        "processor time of the host", "us", [](const Cost& cost) { return cost.own; }, kOwnTarget);
    report(
        "processor time of its children", "us", [](const Cost& cost) { return cost.children; },
        kChildrenTarget);
    report("processor time, both", "us", [](const Cost& cost) { return cost.own + cost.children; });
    report("wall time beyond sampling", "us", [](const Cost& cost) { return cost.wall; });
    report("page faults of the host", "faults", [](const Cost& cost) { return cost.own_faults; });
    report("page faults of its children", "faults",
           [](const Cost& cost) { return cost.children_faults; });
}

void ReportAllocations(const std::string& cycles, const CycleCosts& host, const CycleCosts& floor) {
    ReportFigure(cycles + "allocations", "calls", host, floor,
                 [](const CycleCost& cost) { return cost.allocations; });
    ReportFigure(cycles + "allocated", "bytes", host, floor,
                 [](const CycleCost& cost) { return cost.bytes; });
}

}  // namespace kxbench
