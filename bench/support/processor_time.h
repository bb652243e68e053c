// What work costs the processor, in user and in kernel mode.
#ifndef KXEPINFO_BENCH_SUPPORT_PROCESSOR_TIME_H
#define KXEPINFO_BENCH_SUPPORT_PROCESSOR_TIME_H

#include <functional>

#include "turns.h"

namespace kxbench {

// Microseconds that the calling thread has used, that all child processes used that have been
// waited for, and both together.
double OwnProcessorTime();
double ChildrensProcessorTime();
double ProcessorTime();

// Microseconds of processor time a call: one sample, by turns, for each of `rounds` rounds of
// `calls` calls.
Compared CompareProcessorTime(const std::function<void()>& work,
                              const std::function<void()>& reference, int rounds, int calls);

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_PROCESSOR_TIME_H
