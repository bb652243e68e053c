// The memory of a process.
#ifndef KXEPINFO_BENCH_MEMORY_MEMORY_USE_H
#define KXEPINFO_BENCH_MEMORY_MEMORY_USE_H

#include <sys/types.h>

// In kB.
struct MemoryUse {
    double proportional = 0;  // shared pages divided by the number of those who share them
    double own = 0;           // pages of this process alone
};

// Ends the program when it cannot be read (/proc/PID/smaps_rollup).
MemoryUse ReadMemoryUse(pid_t process);

#endif  // KXEPINFO_BENCH_MEMORY_MEMORY_USE_H
