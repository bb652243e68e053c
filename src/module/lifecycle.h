// What the host's thread and the worker share: the worker's handle and the flag that stops it.
#ifndef KXEPINFO_MODULE_LIFECYCLE_H
#define KXEPINFO_MODULE_LIFECYCLE_H

#include <pthread.h>

#include <atomic>

// 0: keep running, 1: stop requested. Set by kxepinfo_uninit on the host's thread, read by the
// worker, which gets its address as the thread's argument. Nothing else is shared by the two
// threads while both run. It is a plain int, since it crosses the event-loop library as one, so it
// is touched through the two functions below only.
extern int s_exitFlag;

// The worker, 0 when there is none. The host's thread only.
extern pthread_t s_workThread;

inline int ReadExitFlag(int* flag) {
    return std::atomic_ref<int>(*flag).load();
}

inline void WriteExitFlag(int* flag, int value) {
    std::atomic_ref<int>(*flag).store(value);
}

#endif  // KXEPINFO_MODULE_LIFECYCLE_H
