// Signals are the host's: its handlers never run on the worker's thread.
#ifndef KXEPINFO_MODULE_SIGNALS_H
#define KXEPINFO_MODULE_SIGNALS_H

// Blocks all signals for the calling thread, for good, but those that tell of a fault of the
// running instruction: blocked, the kernel would end the process without asking the host's crash
// reporter.
//
// Not every event-loop library makes its threads so. A handler on the worker's thread would cut
// sleeps short: a load sampled over too short a time. They are never unblocked, since a SIGPIPE of
// this thread's own writing may wait for that, and would end the host.
void BlockSignals();

#endif  // KXEPINFO_MODULE_SIGNALS_H
