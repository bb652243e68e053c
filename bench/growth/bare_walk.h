// The least that the facts about network adapters cost.
#ifndef KXEPINFO_BENCH_GROWTH_BARE_WALK_H
#define KXEPINFO_BENCH_GROWTH_BARE_WALK_H

// Has the C library tell all addresses, asks the kernel about the interface of each what the module
// asks, on a socket of its own, and keeps nothing. Ends the program when something fails.
void WalkBarely();

#endif  // KXEPINFO_BENCH_GROWTH_BARE_WALK_H
