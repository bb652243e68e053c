/* A library that, preloaded into a program, counts what the program allocates. */
#ifndef KXEPINFO_BENCH_SUPPORT_COUNT_ALLOCATIONS_H
#define KXEPINFO_BENCH_SUPPORT_COUNT_ALLOCATIONS_H

/* How often the program has asked for memory so far (malloc, calloc, realloc, and what is made of
 * them), on all threads, and for how many bytes. */
extern "C" void kx_allocated(long* count, long* bytes);

#endif  // KXEPINFO_BENCH_SUPPORT_COUNT_ALLOCATIONS_H
