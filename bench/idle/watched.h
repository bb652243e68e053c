// A thread or a process whose processor time and wake-ups are read from outside, so that watching
// costs it nothing.
#ifndef KXEPINFO_BENCH_IDLE_WATCHED_H
#define KXEPINFO_BENCH_IDLE_WATCHED_H

#include <pthread.h>
#include <sys/types.h>

#include <ctime>
#include <string>

struct Use {
    double cpu_seconds;
    double waits;  // how often it has begun to wait, and so how often it was woken
};

class Watched {
  public:
    // A thread of this process, by both of its names; it must outlive the object.
    Watched(pthread_t thread, pid_t id);

    // Another process with all its threads.
    explicit Watched(pid_t process);

    // Since its beginning; for a process, the wake-ups of the threads that it has now. Ends the
    // program when that cannot be read.
    Use Read() const;

  private:
    clockid_t clock_;
    std::string tasks_;  // folder with one task each, or a single task's
    bool is_thread_;
};

#endif  // KXEPINFO_BENCH_IDLE_WATCHED_H
