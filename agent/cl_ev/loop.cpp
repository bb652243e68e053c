#include "loop.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <new>

namespace cl_ev {
namespace {

// Rounds after the first in which RunOnce runs what has become due meanwhile.
constexpr int kDrainRounds = 16;

// And for how long, in milliseconds: a flood must not keep the caller from its other business.
constexpr uint64_t kDrainTime = 50;

// Rounds of closing whatever is open, before a loop counts as one that cannot be closed. One is
// enough unless a close callback opens a handle.
constexpr int kCloseRounds = 16;

constexpr uint64_t kNever = UINT64_MAX;

std::atomic<int> unclean_count{0};

void CloseIfOpen(uv_handle_t* handle, void* /*unused*/) {
    if (uv_is_closing(handle) == 0) {
        uv_close(handle, nullptr);
    }
}

template <class Handle>
void Unref(Handle* handle) {
    uv_unref(reinterpret_cast<uv_handle_t*>(handle));
}

// Whether a descriptor of the loop has an event waiting.
bool HasEvent(const uv_loop_t* loop) {
    pollfd backend = {uv_backend_fd(loop), POLLIN, 0};
    return poll(&backend, 1, 0) > 0;
}

// 0 when there is room for two pipes, or an errno value. In its first loop libuv opens a pipe that
// it cannot do without, after one descriptor more: when there is no room, it ends the process.
int FindRoom() {
    int ends[2];
    int other_ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return errno;
    }
    const int error = pipe2(other_ends, O_CLOEXEC) == 0 ? 0 : errno;
    if (error == 0) {
        (void)close(other_ends[0]);
        (void)close(other_ends[1]);
    }
    (void)close(ends[0]);
    (void)close(ends[1]);
    return error;
}

void OnWake(uv_async_t* /*handle*/) {
    // That it ran has ended the wait.
}

}  // namespace

std::unique_ptr<Loop> Loop::Make(int* error) {
    try {
        std::unique_ptr<Loop> loop(new Loop);
        *error = loop->Init();
        if (*error != 0) {
            loop.reset();
        }
        return loop;
    } catch (const std::bad_alloc&) {
        *error = ENOMEM;
        return nullptr;
    }
}

// Neither handle keeps the loop alive: a loop with nothing else in it has ended.
int Loop::Init() {
    if (const int error = FindRoom(); error != 0) {
        return error;
    }
    int result = uv_loop_init(uv());
    if (result != 0) {
        return -result;
    }
    open_ = true;
    result = uv_async_init(uv(), &wake_, OnWake);
    if (result != 0) {
        return -result;
    }
    Unref(&wake_);
    // Neither fails: the handle is new and the callback is not null.
    (void)uv_prepare_init(uv(), &before_wait_);
    (void)uv_prepare_start(&before_wait_, OnBeforeWait);
    before_wait_.data = this;
    Unref(&before_wait_);
    return 0;
}

Loop::~Loop() {
    if (!open_) {
        return;
    }
    running_ = true;  // a close callback must not start a pass within the pass
    for (int round = 0; round < kCloseRounds; ++round) {
        CloseHandles();
        if (uv_loop_close(uv()) == 0) {
            return;
        }
    }
    ++unclean_count;
    (void)std::fputs("cl_ev: an event loop could not be closed\n", stderr);
    // What is still open points into the loop, so its memory has to stay.
    (void)uv_.release();
}

// The pass waits only for work that was handed to the thread pool: with a handle in closing it
// never waits at all.
void Loop::CloseHandles() {
    while (timers_ != nullptr) {
        Timer* const timer = timers_;
        timers_ = timer->next;
        timer->Close();
    }
    uv_walk(uv(), CloseIfOpen, nullptr);
    (void)uv_run(uv(), UV_RUN_ONCE);
}

bool Loop::RunOnce() {
    if (running_) {
        return true;
    }
    running_ = true;
    if (SomethingIsDue()) {
        (void)uv_run(uv(), UV_RUN_NOWAIT);
    } else {
        Wait();
    }
    Drain();
    running_ = false;
    return uv_loop_alive(uv()) != 0;
}

// Also true when descriptors have been added that the kernel does not know yet; a pass that does
// not wait tells it.
bool Loop::SomethingIsDue() const {
    uv_update_time(uv_.get());
    return uv_backend_timeout(uv_.get()) == 0;
}

void Loop::Wait() {
    const int wait_ms = uv_backend_timeout(uv());
    first_timer_due_ = wait_ms < 0 ? kNever : uv_now(uv()) + static_cast<uint64_t>(wait_ms);
    (void)uv_run(uv(), UV_RUN_ONCE);
    first_timer_due_ = kNever;
}

// libuv runs timers, then waits for descriptors. A timer that became due between the look at the
// clock in Wait and here has just run; to wait now would keep the caller from what its callback
// decided.
void Loop::OnBeforeWait(uv_prepare_t* handle) {
    const auto* loop = static_cast<const Loop*>(handle->data);
    if (uv_now(handle->loop) >= loop->first_timer_due_) {
        uv_stop(handle->loop);
    }
}

void Loop::Drain() {
    const uint64_t begin = uv_now(uv());
    for (int round = 0; round < kDrainRounds && uv_loop_alive(uv()) != 0; ++round) {
        const bool due = SomethingIsDue();
        if ((!due && !HasEvent(uv())) || uv_now(uv()) - begin > kDrainTime) {
            return;
        }
        (void)uv_run(uv(), UV_RUN_NOWAIT);
    }
}

Timer* Loop::StartTimer(int period_ms, cl_timerplus_cb callback, void* user) {
    Timer* const timer = Timer::Start(uv(), period_ms, callback, user);
    if (timer != nullptr) {
        timer->next = timers_;
        timers_ = timer;
    }
    return timer;
}

void Loop::Wake() {
    (void)uv_async_send(&wake_);
}

int Loop::UncleanCount() {
    return unclean_count;
}

}  // namespace cl_ev
