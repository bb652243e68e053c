// A process whose processor time and wake-ups are read from outside, so that watching costs it
// nothing.
#ifndef KXEPINFO_BENCH_IDLE_WATCHED_H
#define KXEPINFO_BENCH_IDLE_WATCHED_H

#include <sys/types.h>

#include <ctime>
#include <string>

struct Use {
    double cpu_seconds;
    double wake_ups;  // how often a thread has gone on after waiting
};

class Watched {
  public:
    explicit Watched(pid_t process);

    // Since its beginning, with the wake-ups of the threads that it has now. Ends the program when
    // that cannot be read.
    Use Read() const;

  private:
    clockid_t clock_;
    std::string tasks_;  // folder with one of each thread
};

#endif  // KXEPINFO_BENCH_IDLE_WATCHED_H
