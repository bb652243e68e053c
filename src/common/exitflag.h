// The flag that stops the worker.
#ifndef KXEPINFO_COMMON_EXITFLAG_H
#define KXEPINFO_COMMON_EXITFLAG_H

#include <atomic>

// 0: keep running, 1: stop requested. Set by kxepinfo_uninit on the host's thread, read by the
// worker, which gets its address as the thread's argument; besides the state of the libraries, the
// only thing that the two threads share while both run. It is a plain int, since it crosses the
// event-loop library as one, so it is touched through the functions below only.
extern int s_exitFlag;

inline int ReadExitFlag(int* flag) {
    return std::atomic_ref<int>(*flag).load();
}

inline void WriteExitFlag(int* flag, int value) {
    std::atomic_ref<int>(*flag).store(value);
}

// For what waits far below the worker's own loop. Any thread.
inline bool IsStopRequested() {
    return ReadExitFlag(&s_exitFlag) != 0;
}

#endif  // KXEPINFO_COMMON_EXITFLAG_H
