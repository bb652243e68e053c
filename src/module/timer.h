// The repeating timer that runs a collection cycle.
#ifndef KXEPINFO_MODULE_TIMER_H
#define KXEPINFO_MODULE_TIMER_H

#include <cstdint>

#include "cl_ev.h"

class CEpInfoIpc;

// The timer's user data. Lives on the worker's stack as long as the worker.
struct _stTimerArg {
    int32_t interval_ms;  // the timer's period
    CEpInfoIpc* ipc;
    int* exit_flag;  // s_exitFlag
};

// The timer's callback, on the worker from its event loop. Does nothing once a stop is requested.
void ProcessMainCb(cl_timerplus* timer);

#endif  // KXEPINFO_MODULE_TIMER_H
