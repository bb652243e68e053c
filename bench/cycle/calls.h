// The system calls of a cycle.
#ifndef KXEPINFO_BENCH_CYCLE_CALLS_H
#define KXEPINFO_BENCH_CYCLE_CALLS_H

#include <string>
#include <vector>

#include "agent.h"

// A kind of cycle, and how its rows begin.
struct CycleKind {
    kxbench::Content content;
    std::string name;
};

// Reports the calls of each kind, of the host and its children, counted from outside, which takes
// too long to tell times. The installation's settings are written.
void MeasureCalls(const std::string& installation, const std::vector<CycleKind>& kinds);

#endif  // KXEPINFO_BENCH_CYCLE_CALLS_H
