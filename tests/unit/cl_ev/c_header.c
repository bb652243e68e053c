/* That the header stands alone in C and declares what the library gives. */
#include "cl_ev.h"

static int (*const create)(pthread_t*, int, void* (*)(void*), void*) = cl_ev_create_isolated_thread;
static cl_timerplus* (*const start)(int, int, cl_timerplus_cb, void*) = cl_timerplus_start;
static int (*const once)(void) = cl_event_loop_once;
static struct uv_loop_s* (*const current)(void) = cl_event_loop_current;
static void (*const wake)(pthread_t) = cl_event_loop_wake;

int CountOfFunctionsSeenFromC(void);
int CountOfFunctionsSeenFromC(void) {
    return !!create + !!start + !!once + !!current + !!wake;
}
