// What the host does for itself while the module comes and goes: threads that work, an event loop,
// signal handlers and an interval timer.
#ifndef KXEPINFO_TESTS_E2E_STORM_OWN_LIFE_H
#define KXEPINFO_TESTS_E2E_STORM_OWN_LIFE_H

#include <string>
#include <vector>

namespace storm {

// Begins it, to go on until the process ends. To be called once, by the main thread, before the
// module is loaded.
void BeginOwnLife();

// The signal mask of each of the host's threads, as the thread itself has last seen it.
std::vector<unsigned long long> MasksOfOwnThreads();

// Sends the process each signal that the host handles, and waits until all handlers have run, the
// interval timer has fired, and threads and loop have made progress. Empty, or what did not happen
// within 15 seconds. The handlers must have run on the host's threads alone, ever.
std::string WhatDoesNotLive();

}  // namespace storm

#endif  // KXEPINFO_TESTS_E2E_STORM_OWN_LIFE_H
