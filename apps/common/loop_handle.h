// Handles of this thread's event loop, owned.
#ifndef KX_APPS_COMMON_LOOP_HANDLE_H
#define KX_APPS_COMMON_LOOP_HANDLE_H

#include <uv.h>

#include <memory>
#include <stdexcept>

#include "cl_ev.h"

namespace kxapp {

// Closes a handle. No callback of it runs afterwards; its memory goes in a later pass of the loop,
// at the latest when the thread's loop is closed.
template <class Handle>
struct CloseHandle {
    void operator()(Handle* handle) const {
        uv_close(reinterpret_cast<uv_handle_t*>(handle),
                 [](uv_handle_t* closed) { delete reinterpret_cast<Handle*>(closed); });
    }
};

template <class Handle>
using LoopHandle = std::unique_ptr<Handle, CloseHandle<Handle>>;

// Makes a handle with its init function, such as uv_timer_init. Throws std::runtime_error.
template <class Handle>
LoopHandle<Handle> MakeLoopHandle(int (*init)(uv_loop_t* loop, Handle* handle)) {
    uv_loop_t* loop = cl_event_loop_current();
    auto handle = std::make_unique<Handle>();
    if (loop == nullptr || init(loop, handle.get()) != 0) {
        throw std::runtime_error("cannot use the event loop");
    }
    return LoopHandle<Handle>(handle.release());
}

}  // namespace kxapp

#endif  // KX_APPS_COMMON_LOOP_HANDLE_H
