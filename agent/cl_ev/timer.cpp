#include "timer.h"

#include <new>
#include <type_traits>

namespace cl_ev {

static_assert(std::is_standard_layout_v<Timer>, "a Timer is reached through its first member");

namespace {

void OnDue(uv_timer_t* handle) {
    auto* timer = static_cast<Timer*>(handle->data);
    timer->callback(&timer->shown);
}

void OnClosed(uv_handle_t* handle) {
    delete static_cast<Timer*>(handle->data);
}

}  // namespace

Timer* Timer::Start(uv_loop_t* loop, int period_ms, cl_timerplus_cb callback, void* user) {
    auto* timer = new (std::nothrow) Timer;
    if (timer == nullptr) {
        return nullptr;
    }
    timer->shown.user = user;
    timer->callback = callback;
    timer->handle.data = timer;
    // The loop's clock stands still outside of a pass. Without the update, the time since the last
    // pass would be taken off the first period.
    uv_update_time(loop);
    const auto period = static_cast<uint64_t>(period_ms);
    // Neither fails: the handle is new and the callback is not null.
    (void)uv_timer_init(loop, &timer->handle);
    (void)uv_timer_start(&timer->handle, OnDue, period, period);
    return timer;
}

void Timer::Close() {
    uv_close(reinterpret_cast<uv_handle_t*>(&handle), OnClosed);
}

}  // namespace cl_ev
