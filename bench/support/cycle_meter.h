// What a collection cycle costs, told from inside the process that runs it: by the library that is
// preloaded into a host and by the program that is its floor. Needs nothing but the C library.
#ifndef KXEPINFO_BENCH_SUPPORT_CYCLE_METER_H
#define KXEPINFO_BENCH_SUPPORT_CYCLE_METER_H

namespace kxbench {

struct CycleCost {
    double wall = 0;             // microseconds, without the pause in which load is sampled
    double own = 0;              // processor time of the process, in microseconds
    double children = 0;         // of the processes that it has waited for
    double own_faults = 0;       // page faults of the process, those that read a disk included
    double children_faults = 0;  // of the processes that it has waited for
    double allocations = 0;      // and their bytes; 0 without the library that counts them
    double bytes = 0;
};

// Microseconds, of a monotonic clock that all processes share.
double Now();

// One thread uses it. All but the wall time counts from the cycle before, so what follows from a
// cycle is in the next one's figures.
class CycleMeter {
  public:
    // Writes to the descriptor whose number KX_CYCLE_CLOCK holds; nowhere without.
    CycleMeter();

    // The first cycle begins with the meter.
    void Begin();
    // That long the cycle has waited on purpose.
    void Exclude(double microseconds) { excluded_ += microseconds; }
    // Writes the cost as one line.
    void End();

  private:
    int output_ = -1;
    double begin_ = 0;
    double excluded_ = 0;
    CycleCost before_;  // since the beginning of the process
};

// The period of the cycles in milliseconds when they are to run one soon after another
// (KX_CYCLE_PERIOD_MS), or 0 when time passes as always.
int HurriedPeriod();

// Nanoseconds that take the place of the second in which load is sampled, a tenth of that period; 0
// as well.
long HurriedSample();

// What a line of the meter tells. False when it is none.
bool ParseCycleCost(const char* line, CycleCost& cost);

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_CYCLE_METER_H
