// Who watches the manager: programs on the bus that are told each upload and the answer to it.
#ifndef KX_APPS_KXEMGR_WATCHERS_H
#define KX_APPS_KXEMGR_WATCHERS_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "common/loop_handle.h"
#include "common/service.h"
#include "common/upload.h"
#include "kxemgr/watch_queue.h"

namespace kxemgr {

// Belongs to the manager's thread and loop. What waits for a watcher is bounded (WatchQueue), and
// nothing goes out but as the answer to a question, so that one that reads nothing costs no more.
class Watchers {
  public:
    static constexpr std::size_t kMost = 8;
    // One that has asked nothing for so long is forgotten; one that has left the bus, at the latest
    // when its place is wanted.
    static constexpr std::uint64_t kForgottenAfterMs = 60'000;

    // Answers the question `id` of the peer `to`; 0 or the bus's error code.
    using Answer = std::function<int(const std::string& to, unsigned id, const std::string& data)>;
    // Milliseconds, which never go back.
    using Clock = std::function<std::uint64_t()>;

    // Whether a name of the bus is taken.
    using Presence = std::function<bool(const std::string& name)>;

    explicit Watchers(Presence is_there = IsOnBus, Clock clock = Monotonic);

    // Takes a question of type kWatchType in. It is answered at once when it is no question or
    // asks for more of what has not begun, else by flush().
    kxapp::Reply ask(const kxapp::Request& request);

    // Keeps an upload for those who watch its agent. Does not throw; what there is no memory for
    // is told on standard error.
    void tell(const kxapp::Upload& upload, std::string_view fault,
              const bf_kxepinfo::epinfo_msg_respone& answer) noexcept;

    // To be called after each pass of the loop: answers what can be answered and forgets who is
    // gone or cannot be answered. While somebody watches, a timer makes a pass each second.
    void flush(const Answer& answer);

    std::size_t count() const { return m_watchers.size(); }

  private:
    struct Watcher {
        std::string name;
        std::string agent;  // empty: all
        bool begins = true;
        bool asks = true;  // a question is open, `question`
        bool gone = false;
        unsigned question = 0;
        std::uint64_t asked_at = 0;
        WatchQueue queue;
    };

    static bool IsOnBus(const std::string& name);
    static std::uint64_t Monotonic();
    static void AnswerWith(const kxapp::WatchAnswer& what, Watcher& watcher, const Answer& answer);
    void begin(const kxapp::Request& request, std::string agent);
    void serve(Watcher& watcher, const Answer& answer);
    void for_each_that_stays(const std::function<void(Watcher& watcher)>& step);
    static void let_in(Watcher& watcher, bool has_room, const Answer& answer);
    void set_timer();

    Presence m_is_there;
    Clock m_clock;
    std::vector<Watcher> m_watchers;
    kxapp::LoopHandle<uv_timer_t> m_timer;
};

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_WATCHERS_H
