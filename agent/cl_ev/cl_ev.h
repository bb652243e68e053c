/* Event loop of the agent: one loop a thread, waiting instead of polling.
 *
 * A thread has at most one loop, a uv_loop_t of libuv. A thread made by
 * cl_ev_create_isolated_thread gets its loop before it runs; any other thread gets one when it
 * first calls cl_timerplus_start, cl_event_loop_once or cl_event_loop_current. The loop and every
 * handle still open in it are closed when the thread ends: close callbacks run on that thread, then
 * the loop's memory is returned. A handle that somebody else put into the loop is closed without a
 * callback, so its memory must stay valid until the thread has ended, or the handle must be closed
 * before.
 *
 * Threads: a loop, its timers and its callbacks belong to their thread alone. Only
 * cl_event_loop_wake may be called for another thread's loop.
 *
 * Signals: an isolated thread runs with every signal blocked but those that report a fault of the
 * running instruction (SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS), so the host's handlers
 * never interrupt it, a broken pipe cannot end the host, and a crash still reaches the host's crash
 * reporter. Any other thread gets SIGPIPE blocked, and keeps it blocked, when its loop is made.
 * Child processes inherit the mask of the thread that starts them.
 *
 * Processes: a loop does not survive fork(); the child must not use one that its parent made.
 *
 * Exceptions: none leaves these functions, and a callback must not let one out.
 *
 * Unloading: the library may be unloaded once every isolated thread is joined. While another thread
 * that has a loop is alive, the C library keeps it mapped. */
#ifndef CL_EV_H
#define CL_EV_H

#include <pthread.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

struct uv_loop_s;

typedef struct cl_timerplus {
    void* user; /* first member; the rest is private */
} cl_timerplus;

/* Runs on the thread that started the timer. `timer` is what cl_timerplus_start returned, its
 * member `user` what was given there. */
typedef void (*cl_timerplus_cb)(cl_timerplus* timer);

/* Creates a joinable thread with a loop of its own and runs entry(arg) on it; what entry returns is
 * the thread's exit value. When entry returns, or leaves through pthread_exit, the loop is closed
 * before the thread ends. pthread_exit must not be called from inside a callback of the loop.
 *
 * flags: 0; there are no others yet.
 * Returns 0 and stores the thread's handle in *thread, or an errno value and leaves *thread alone:
 * EINVAL for a null `thread` or `entry` or an unknown flag, ENOMEM, EMFILE or ENFILE when the loop
 * cannot be made, EAGAIN when the system cannot make another thread. The caller's signal mask is
 * the same afterwards. */
int cl_ev_create_isolated_thread(pthread_t* thread, int flags, void* (*entry)(void*), void* arg);

/* Arms a repeating timer on the calling thread's loop: `cb` is called every period_ms milliseconds
 * (1 to INT_MAX), the first time period_ms from now. A period counts from the start of the callback
 * before it; calls that would have fallen into a long callback are not made up for.
 *
 * flags: kept and not interpreted.
 * Returns the timer, which the loop owns and frees when its thread ends, or null for a period below
 * 1, a null callback, or when memory or descriptors have run out. */
cl_timerplus* cl_timerplus_start(int flags, int period_ms, cl_timerplus_cb cb, void* user);

/* One pass of the calling thread's loop. Waits until something is due or the thread is woken, then
 * runs everything that is due before it returns; what becomes due meanwhile is run too, for a
 * bounded number of rounds, so that neither a flood of events nor a timer shorter than its own
 * callback holds the caller for ever. May return without having run anything.
 *
 * Returns non-zero while a handle is active. 0 is returned at once, without waiting, when there is
 * none: there is nothing that could ever become due; also when the thread has no loop and none can
 * be made. Called from inside a callback of the loop it does nothing and returns non-zero. */
int cl_event_loop_once(void);

/* The calling thread's loop, made when it has none. Borrowed, valid until the thread ends. Null
 * when it cannot be made. For the agent's own libraries and programs: an implementation of this
 * interface need not have it. */
struct uv_loop_s* cl_event_loop_current(void);

/* Ends the wait of the loop of `thread`: the cl_event_loop_once that waits there now, or else the
 * next one, returns at once. Any thread may call it. No effect when the thread has no loop or has
 * ended. For the agent's own libraries and programs: an implementation of this interface need not
 * have it, so refer to it weakly where that matters. */
void cl_event_loop_wake(pthread_t thread);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* CL_EV_H */
