// Counts what this program allocates with new.
#ifndef KXEPINFO_BENCH_ENCODE_ALLOCATIONS_H
#define KXEPINFO_BENCH_ENCODE_ALLOCATIONS_H

// How often so far, on all threads.
long Allocations();

#endif  // KXEPINFO_BENCH_ENCODE_ALLOCATIONS_H
