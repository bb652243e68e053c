// The plain event loop, seen by the plain bus and by tests. Any thread.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_LOOP_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_LOOP_H

#include <functional>

#pragma GCC visibility push(default)
namespace plain {

// Gives the worker something to do, in a later pass. Dropped when there is no worker, or when it
// ends before.
void Post(std::function<void()> work);

// The worker's timer is due now.
void MakeTimerDue();

// Returns when the worker has done all that it was given, the cycle at its start included, or has
// ended.
void WaitUntilIdle();

bool WorkerRuns();

}  // namespace plain
#pragma GCC visibility pop

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_LOOP_H
