// Another event-loop library, which polls and cannot be woken.
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include "cl_ev.h"
#include "loop.h"
#include "watch.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Timer {
    cl_timerplus handle{};
    cl_timerplus_cb callback = nullptr;
    std::chrono::milliseconds period{};
    Clock::time_point due;
};

struct Start {
    void* (*entry)(void*);
    void* arg;
};

// What the worker shares with other threads. There is one worker at a time.
struct Loop {
    std::mutex mutex;
    std::condition_variable changed;
    std::deque<std::function<void()>> work;
    bool timer_is_due = false;
    bool runs = false;
    bool idle = false;
};

Loop loop;
thread_local Timer timer;  // one is all that the module arms

void SetRuns(bool runs) {
    const std::lock_guard lock(loop.mutex);
    loop.runs = runs;
    loop.idle = false;
    loop.timer_is_due = false;
    loop.work.clear();
    loop.changed.notify_all();
}

void* Run(void* start_of_caller) {
    const std::unique_ptr<Start> start(static_cast<Start*>(start_of_caller));
    const plain::WorkerMark mark;
    void* const result = start->entry(start->arg);
    SetRuns(false);
    return result;
}

// Null, and the worker is idle, when there is nothing left.
std::function<void()> NextWork() {
    const std::lock_guard lock(loop.mutex);
    if (loop.work.empty()) {
        loop.idle = !loop.timer_is_due;
        loop.changed.notify_all();
        return nullptr;
    }
    std::function<void()> work = std::move(loop.work.front());
    loop.work.pop_front();
    return work;
}

bool IsTimerDue() {
    if (timer.callback == nullptr) {
        return false;
    }
    const std::lock_guard lock(loop.mutex);
    return std::exchange(loop.timer_is_due, false) || Clock::now() >= timer.due;
}

}  // namespace

int cl_ev_create_isolated_thread(pthread_t* thread, int flags, void* (*entry)(void*), void* arg) {
    plain::Call call("cl_ev_create_isolated_thread", plain::Call::Thread::kAny);
    if (flags != 0) {
        plain::Breach("unknown flags for a thread");
    }
    if (call.MustFail()) {
        *thread = pthread_t{1};  // of a thread that there is not
        return EAGAIN;
    }
    auto start = std::make_unique<Start>(Start{entry, arg});
    SetRuns(true);
    const int error = pthread_create(thread, nullptr, Run, start.get());
    if (error == 0) {
        (void)start.release();  // Run owns it
    } else {
        SetRuns(false);
    }
    return error;
}

cl_timerplus* cl_timerplus_start(int flags, int period_ms, cl_timerplus_cb cb, void* user) {
    plain::Call call("cl_timerplus_start");
    if (flags != 0 || period_ms < 1 || cb == nullptr || timer.callback != nullptr) {
        plain::Breach("unusable timer");
    }
    if (call.MustFail()) {
        return nullptr;
    }
    timer.handle.user = user;
    timer.callback = cb;
    timer.period = std::chrono::milliseconds(period_ms);
    timer.due = Clock::now() + timer.period;
    return &timer.handle;
}

int cl_event_loop_once() {
    plain::Call call("cl_event_loop_once");
    if (call.MustFail()) {
        return 0;  // as if there were nothing to serve any more
    }
    if (IsTimerDue()) {
        timer.due = Clock::now() + timer.period;
        timer.callback(&timer.handle);
    }
    while (const std::function<void()> work = NextWork()) {
        work();
    }
    return 1;
}

namespace plain {

void Post(std::function<void()> work) {
    const std::lock_guard lock(loop.mutex);
    if (loop.runs) {
        loop.work.push_back(std::move(work));
        loop.idle = false;
    }
}

void MakeTimerDue() {
    const std::lock_guard lock(loop.mutex);
    loop.timer_is_due = true;
    loop.idle = false;
}

void WaitUntilIdle() {
    std::unique_lock lock(loop.mutex);
    loop.changed.wait(lock, [] { return loop.idle || !loop.runs; });
}

bool WorkerRuns() {
    const std::lock_guard lock(loop.mutex);
    return loop.runs;
}

}  // namespace plain
