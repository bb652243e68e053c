// A process with all that it has started.
#ifndef KXEPINFO_BENCH_PEERS_PROCESS_TREE_H
#define KXEPINFO_BENCH_PEERS_PROCESS_TREE_H

#include <sys/types.h>

struct TreeUse {
    double processor_time = 0;  // microseconds, of the processes that are there now
    double ended = 0;           // microseconds, of those that ended and were waited for; the kernel
                                // tells it in hundredths of a second
    double memory = 0;          // proportional (PSS), in kB
    int processes = 0;
    int threads = 0;
};

// Since they began. Ends the program when the process is not there any more.
TreeUse ReadTree(pid_t root);

#endif  // KXEPINFO_BENCH_PEERS_PROCESS_TREE_H
