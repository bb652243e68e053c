#include "deadlines.h"

#include <utility>

namespace noxipc {
namespace {

template <class Handle>
uv_handle_t* AsHandle(Handle* handle) {
    return reinterpret_cast<uv_handle_t*>(handle);
}

}  // namespace

Deadlines::Pointer Deadlines::Make(uv_loop_t* loop) {
    return Pointer(new Deadlines(loop));
}

// None of these can fail.
Deadlines::Deadlines(uv_loop_t* loop) {
    (void)uv_timer_init(loop, &timer_);
    (void)uv_idle_init(loop, &no_waiting_);
    (void)uv_check_init(loop, &sockets_read_);
    timer_.data = no_waiting_.data = sockets_read_.data = this;
}

void Deadlines::Close() {
    entries_.clear();
    for (uv_handle_t* handle :
         {AsHandle(&timer_), AsHandle(&no_waiting_), AsHandle(&sockets_read_)}) {
        uv_close(handle, OnClosed);
    }
}

void Deadlines::OnClosed(uv_handle_t* handle) {
    auto* self = static_cast<Deadlines*>(handle->data);
    if (--self->open_handles_ == 0) {
        delete self;
    }
}

Deadlines::Entry Deadlines::Add(uint64_t after_ms, Action action) {
    uv_update_time(timer_.loop);
    const Entry entry = entries_.emplace(uv_now(timer_.loop) + after_ms, std::move(action));
    if (entry == entries_.begin()) {
        ArmTimer();
    }
    return entry;
}

void Deadlines::Remove(Entry entry) {
    const bool was_first = entry == entries_.begin();
    entries_.erase(entry);
    if (was_first) {
        ArmTimer();
    }
}

void Deadlines::ArmTimer() {
    if (entries_.empty()) {
        (void)uv_timer_stop(&timer_);
        return;
    }
    const uint64_t now = uv_now(timer_.loop);
    const uint64_t due = entries_.begin()->first;
    (void)uv_timer_start(&timer_, OnTimer, due > now ? due - now : 0, 0);
}

void Deadlines::OnTimer(uv_timer_t* timer) {
    auto* self = static_cast<Deadlines*>(timer->data);
    (void)uv_idle_start(&self->no_waiting_, [](uv_idle_t*) {});
    (void)uv_check_start(&self->sockets_read_, OnSocketsRead);
}

void Deadlines::OnSocketsRead(uv_check_t* check) {
    auto* self = static_cast<Deadlines*>(check->data);
    (void)uv_idle_stop(&self->no_waiting_);
    (void)uv_check_stop(&self->sockets_read_);
    self->RunExpired();
}

void Deadlines::RunExpired() {
    const uint64_t now = uv_now(timer_.loop);
    while (!entries_.empty() && entries_.begin()->first <= now) {
        const auto expired = entries_.extract(entries_.begin());
        expired.mapped()();
    }
    ArmTimer();
}

}  // namespace noxipc
