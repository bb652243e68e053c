// Where the module's worker is, seen by the functions that it calls there. The program defines
// those functions in front of the C library's and the event loop's, which do the work.
#ifndef KXEPINFO_TESTS_E2E_STORM_PHASES_H
#define KXEPINFO_TESTS_E2E_STORM_PHASES_H

#include <array>
#include <string_view>

namespace storm {

enum class Phase {
    kAtOnce,    // the worker may not have begun
    kSampling,  // processor load, in the middle of the first cycle
    kSystem,    // about to ask for the kernel's name
    kAdapters,  // about to list the interfaces
    kCommand,   // about to run a program
    kArmed,     // first cycle done, the timer is about to run
    kTimer,     // sampling in a cycle of the timer
};

inline constexpr std::array<std::string_view, 7> kPhaseNames = {
    "at-once", "sampling", "system", "adapters", "command", "armed", "timer"};

// To be called before the module is started: the phase that WaitForPhase will wait for. A worker
// that is to be held stays there until the stop was requested; at kAtOnce and kArmed none is.
void AwaitPhase(Phase phase, bool hold);

// False when the worker has not come there within a minute.
bool WaitForPhase();

}  // namespace storm

#endif  // KXEPINFO_TESTS_E2E_STORM_PHASES_H
