#include "processor_time.h"

#include <sys/resource.h>

#include <ctime>

#include "report.h"

namespace kxbench {
namespace {

double Microseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

double MicrosecondsACall(const std::function<void()>& work, int calls) {
    const double before = ProcessorTime();
    for (int i = 0; i < calls; ++i) {
        work();
    }
    return (ProcessorTime() - before) / calls;
}

}  // namespace

// getrusage(2) counts the running thread's time up to the last tick of the scheduler only.
double OwnProcessorTime() {
    timespec used{};
    if (clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used) != 0) {
        Fail("cannot read the processor time of a thread");
    }
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

double ChildrensProcessorTime() {
    rusage used{};
    if (getrusage(RUSAGE_CHILDREN, &used) != 0) {
        Fail("cannot read the processor time of child processes");
    }
    return Microseconds(used.ru_utime) + Microseconds(used.ru_stime);
}

double ProcessorTime() {
    return OwnProcessorTime() + ChildrensProcessorTime();
}

Compared CompareProcessorTime(const std::function<void()>& work,
                              const std::function<void()>& reference, int rounds, int calls) {
    return SampleByTurns(
        rounds, [&] { return MicrosecondsACall(work, calls); },
        [&] { return MicrosecondsACall(reference, calls); });
}

}  // namespace kxbench
