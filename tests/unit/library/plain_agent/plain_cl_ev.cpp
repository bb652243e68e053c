// Another event-loop library, which polls and cannot be woken.
#include <chrono>
#include <thread>

#include "cl_ev.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Timer {
    cl_timerplus handle{};
    cl_timerplus_cb callback = nullptr;
    std::chrono::milliseconds period{};
    Clock::time_point due;
};

thread_local Timer timer;  // one is all that the module arms

}  // namespace

int cl_ev_create_isolated_thread(pthread_t* thread, int /*flags*/, void* (*entry)(void*),
                                 void* arg) {
    return pthread_create(thread, nullptr, entry, arg);
}

cl_timerplus* cl_timerplus_start(int /*flags*/, int period_ms, cl_timerplus_cb cb, void* user) {
    timer.handle.user = user;
    timer.callback = cb;
    timer.period = std::chrono::milliseconds(period_ms);
    timer.due = Clock::now() + timer.period;
    return &timer.handle;
}

int cl_event_loop_once() {
    if (timer.callback != nullptr && Clock::now() >= timer.due) {
        timer.due += timer.period;
        timer.callback(&timer.handle);
    }
    return 1;
}
