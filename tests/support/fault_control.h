// What a test and the library fault_injection.cpp, preloaded into a host, tell each other: a file
// that both have mapped, named to the host by the environment variable KX_FAULTS.
#ifndef KXEPINFO_TESTS_SUPPORT_FAULT_CONTROL_H
#define KXEPINFO_TESTS_SUPPORT_FAULT_CONTROL_H

#include <atomic>

namespace kxtest {

struct FaultControl {
    // Set by the test while `armed` is false.
    char function[32];  // whose calls are counted
    int error;          // what errno tells, or what the function returns if it returns errno values
    long nth;           // the call that fails; the first is 1
    bool lasting;       // all calls after that one fail, too
    std::atomic<bool> armed;

    // Set by the library. The test sets `calls` to 0 before it arms.
    std::atomic<long> calls;  // while armed
    char where[1024];         // who called when a call failed: files and offsets in them

    // How far the module's worker is.
    std::atomic<int> workers_made;
    std::atomic<int> workers_ended;
    std::atomic<long> passes;  // of the event loop, by the worker made last
};

static_assert(std::atomic<long>::is_always_lock_free, "the two processes share no locks");

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_FAULT_CONTROL_H
