// The worker: the one thread on which the module does all its work.
#ifndef KXEPINFO_MODULE_WORKER_H
#define KXEPINFO_MODULE_WORKER_H

// The worker's entry; `exit_flag` is the address of s_exitFlag. Prepares the log, joins the bus,
// asks for the configuration, runs the first cycle, arms the timer and serves its event loop until
// the flag is set or the loop ends; then leaves the bus. The thread's exit value is an int: 0; -1
// when `exit_flag` is null or the bus could not be joined; 12 without memory for the endpoint.
// Nobody reads it: the log tells what happened.
void* epInfoSchedule(void* exit_flag);

#endif  // KXEPINFO_MODULE_WORKER_H
