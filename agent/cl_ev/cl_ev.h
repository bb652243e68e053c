/* Event loop of the agent: one loop a thread, waiting instead of polling. */
#ifndef CL_EV_H
#define CL_EV_H

#include <pthread.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct cl_timerplus {
    void* user; /* first member; the rest is private */
} cl_timerplus;
typedef void (*cl_timerplus_cb)(cl_timerplus* timer);

int cl_ev_create_isolated_thread(pthread_t* thread, int flags, void* (*entry)(void*), void* arg);
cl_timerplus* cl_timerplus_start(int flags, int period_ms, cl_timerplus_cb cb, void* user);
int cl_event_loop_once(void);
struct uv_loop_s* cl_event_loop_current(void);
void cl_event_loop_wake(pthread_t thread);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* CL_EV_H */
