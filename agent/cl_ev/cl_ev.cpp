// The C interface to the calling thread's loop.
#include "cl_ev.h"

#include "thread_loop.h"

cl_timerplus* cl_timerplus_start(int /*flags*/, int period_ms, cl_timerplus_cb cb, void* user) {
    if (period_ms < 1 || cb == nullptr) {
        return nullptr;
    }
    cl_ev::Loop* const loop = cl_ev::CurrentLoop();
    cl_ev::Timer* const timer = loop == nullptr ? nullptr : loop->StartTimer(period_ms, cb, user);
    return timer == nullptr ? nullptr : &timer->shown;
}

int cl_event_loop_once(void) {
    cl_ev::Loop* const loop = cl_ev::CurrentLoop();
    return loop != nullptr && loop->RunOnce() ? 1 : 0;
}

uv_loop_s* cl_event_loop_current(void) {
    cl_ev::Loop* const loop = cl_ev::CurrentLoop();
    return loop == nullptr ? nullptr : loop->uv();
}

void cl_event_loop_wake(pthread_t thread) {
    cl_ev::ThreadLoop::Wake(thread);
}
