// Repeating timer behind a cl_timerplus.
#ifndef CL_EV_TIMER_H
#define CL_EV_TIMER_H

#include <uv.h>

#include "cl_ev.h"

namespace cl_ev {

// The first member is what callers see, so a Timer and its cl_timerplus have the same address.
struct Timer {
    cl_timerplus shown = {};
    cl_timerplus_cb callback = nullptr;
    uv_timer_t handle = {};
    Timer* next = nullptr;  // the loop's list of its timers

    // Makes a timer and arms it. Null when memory has run out. The timer belongs to the loop until
    // Close.
    static Timer* Start(uv_loop_t* loop, int period_ms, cl_timerplus_cb callback, void* user);

    // Stops the timer; a later pass of the loop frees it.
    void Close();
};

}  // namespace cl_ev

#endif  // CL_EV_TIMER_H
