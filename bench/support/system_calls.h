// Counts the system calls of a process from outside (ptrace(2)), threads and child processes
// included. What is watched runs many times slower meanwhile: counts and times are taken apart.
#ifndef KXEPINFO_BENCH_SUPPORT_SYSTEM_CALLS_H
#define KXEPINFO_BENCH_SUPPORT_SYSTEM_CALLS_H

#include <sys/types.h>

#include <functional>
#include <map>
#include <vector>

namespace kxbench {

struct SystemCalls {
    double own = 0;          // of the process, all threads
    double of_children = 0;  // of the processes that it started, and of those that they started
    double children = 0;     // how many those are
};

SystemCalls operator-(const SystemCalls& left, const SystemCalls& right);

// Belongs to the thread that made it. Ends the program when the process cannot be watched.
class SystemCallCounter {
  public:
    // Stops all threads of the process, a child of this program, until Run. A call that one of them
    // waits in ends or is begun again, as after a signal.
    explicit SystemCallCounter(pid_t process);
    SystemCallCounter(const SystemCallCounter&) = delete;
    SystemCallCounter& operator=(const SystemCallCounter&) = delete;

    // Lets go of all that still runs.
    ~SystemCallCounter();

    // Lets the process run until it has ended, or `enough` is true; that is asked whenever one of
    // the watched did something. False when the process has ended.
    bool Run(const std::function<bool()>& enough);

    // So far; a call counts when it begins.
    const SystemCalls& calls() const { return calls_; }

  private:
    bool SeizeThreads();
    bool IsOwn(pid_t task);
    void HandleStop(pid_t task, int status);

    pid_t process_;
    std::map<pid_t, bool> tasks_;  // threads that are watched; whether one is of the process itself
    SystemCalls calls_;
};

// Of `times` calls of `work` one by one, which a child process makes after one that does not count.
// Ends the program when the work ends the child.
std::vector<SystemCalls> CountSystemCalls(const std::function<void()>& work, int times);

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_SYSTEM_CALLS_H
