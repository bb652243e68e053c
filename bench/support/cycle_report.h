// The rows that tell what collection cycles cost, beside their floor.
#ifndef KXEPINFO_BENCH_SUPPORT_CYCLE_REPORT_H
#define KXEPINFO_BENCH_SUPPORT_CYCLE_REPORT_H

#include <string>
#include <vector>

#include "cycle_meter.h"
#include "lines.h"

namespace kxbench {

// A cycle of the program that only does what cannot be avoided (bench/floor).
inline constexpr char kCycleFloor[] = "only the unavoidable";

using CycleCosts = std::vector<CycleCost>;

// Environment for a program of an installation that tells what its cycles cost: on `lines`, and
// with that period instead of its own when it is not 0. For a host, with the library that measures
// it; `library` is one more to preload.
std::vector<std::string> MeteredFloor(const Lines& lines, int period_ms);
std::vector<std::string> MeteredHost(const std::string& installation, const Lines& lines,
                                     int period_ms, const std::string& library = "");

// The next cycle's line, waited for that long. Ends the program when none comes.
CycleCost NextCost(Lines& lines, int longest_wait_ms = 30000);

// Processor time, wall time and page faults. Each row's name begins with `cycles`.
void ReportCosts(const std::string& cycles, const CycleCosts& host, const CycleCosts& floor);

// What was allocated.
void ReportAllocations(const std::string& cycles, const CycleCosts& host, const CycleCosts& floor);

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_CYCLE_REPORT_H
