// One thread's event loop.
#ifndef CL_EV_LOOP_H
#define CL_EV_LOOP_H

#include <uv.h>

#include <cstdint>
#include <memory>

#include "timer.h"

namespace cl_ev {

// All members belong to the thread that runs the loop, except Wake. A loop may be made on one
// thread and handed to another before it is first run.
class Loop {
  public:
    // Null when it cannot be made; *error is then an errno value, otherwise 0.
    static std::unique_ptr<Loop> Make(int* error);

    // Closes every handle, runs the close callbacks and closes the loop.
    ~Loop();

    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    uv_loop_t* uv() { return uv_.get(); }

    // What cl_event_loop_once does; true while a handle is active.
    bool RunOnce();

    // Arms a repeating timer; null when memory has run out.
    Timer* StartTimer(int period_ms, cl_timerplus_cb callback, void* user);

    // Ends the wait of RunOnce. Any thread, while the loop exists.
    void Wake();

    // How many loops of this process could not be closed, because their close callbacks kept
    // opening handles. The memory of such a loop is not returned.
    static int UncleanCount();

  private:
    Loop() = default;

    int Init();
    bool SomethingIsDue() const;
    void Wait();
    void Drain();
    void CloseHandles();
    static void OnBeforeWait(uv_prepare_t* handle);

    std::unique_ptr<uv_loop_t> uv_ = std::make_unique<uv_loop_t>();
    uv_async_t wake_ = {};
    uv_prepare_t before_wait_ = {};
    uint64_t first_timer_due_ = UINT64_MAX;  // milliseconds of the loop's clock
    Timer* timers_ = nullptr;
    bool open_ = false;
    bool running_ = false;
};

}  // namespace cl_ev

#endif  // CL_EV_LOOP_H
