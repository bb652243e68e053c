// What an instance does when time is up: one timer for all of it.
#ifndef NOXIPC_DEADLINES_H
#define NOXIPC_DEADLINES_H

#include <uv.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>

namespace noxipc {

// A deadline that has passed counts only after the loop has read what was waiting in its sockets. A
// thread that was busy elsewhere for longer than a time-out must not take an answer that came in
// time for a missing one.
//
// Lives until its handles are closed, which takes a pass of the loop after Close.
class Deadlines {
  public:
    using Action = std::function<void()>;
    using Entry = std::multimap<uint64_t, Action>::iterator;

    struct CloseLater {
        void operator()(Deadlines* deadlines) const { deadlines->Close(); }
    };
    using Pointer = std::unique_ptr<Deadlines, CloseLater>;

    // Throws std::bad_alloc.
    static Pointer Make(uv_loop_t* loop);

    // Runs `action` once, `after_ms` from now, unless it is removed before. The action may add and
    // remove others. Throws std::bad_alloc.
    Entry Add(uint64_t after_ms, Action action);

    // Of an entry whose action has not run.
    void Remove(Entry entry);

    std::size_t size() const { return entries_.size(); }

  private:
    explicit Deadlines(uv_loop_t* loop);
    ~Deadlines() = default;
    Deadlines(const Deadlines&) = delete;
    Deadlines& operator=(const Deadlines&) = delete;

    void Close();
    void ArmTimer();
    void RunExpired();
    static void OnTimer(uv_timer_t* timer);
    static void OnSocketsRead(uv_check_t* check);
    static void OnClosed(uv_handle_t* handle);

    std::multimap<uint64_t, Action> entries_;  // by loop time in milliseconds
    uv_timer_t timer_ = {};
    uv_idle_t no_waiting_ = {};     // while active, the loop looks at its sockets without waiting
    uv_check_t sockets_read_ = {};  // runs when it has
    int open_handles_ = 3;
};

}  // namespace noxipc

#endif  // NOXIPC_DEADLINES_H
