// A peer of the module: a name on the bus under which requests are answered, rightly or, to try the
// module's handling of it, wrongly.
#ifndef KX_APPS_COMMON_SERVICE_H
#define KX_APPS_COMMON_SERVICE_H

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "common/loop_handle.h"
#include "nox_ipc.h"

namespace kxapp {

struct LeaveBus {
    void operator()(nox_ipc_st* ipc) const { nox_ipc_destroy(ipc); }
};
using Bus = std::unique_ptr<nox_ipc_st, LeaveBus>;

struct ReleaseAddress {
    void operator()(nox_addr_st* address) const { nox_addr_destroy(address); }
};
using Address = std::unique_ptr<nox_addr_st, ReleaseAddress>;

// Joins the bus. Null, after a complaint, when that cannot be done.
Bus JoinBus(const std::string& name);

// The address of a peer, which need not be there. Throws std::runtime_error.
Address AddressOf(const std::string& name);

// A request as it came; the texts live while its handler runs.
struct Request {
    std::string_view from;  // the sender's name on the bus
    unsigned id;
    unsigned type;
    std::string_view data;
};

// When an answer goes out. Late: some time after the request, kLateMs unless told otherwise, when
// the module has given it up after its 5 s. Close: never, and the asker sees the conversation end.
enum class Delivery { kNow, kLate, kNever, kClose };
inline constexpr unsigned kLateMs = 6000;

struct Reply {
    Delivery delivery = Delivery::kNow;
    unsigned type = 0;
    std::string data;
};

// Belongs to the thread that made it and works from its event loop:
//   while (!done) { cl_event_loop_once(); if (!service.after_pass()) ... }
class Service {
  public:
    using Handler = std::function<Reply(const Request& request)>;

    Service(std::string name, Handler handler, unsigned late_ms = kLateMs);
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    // So many late answers wait at most; what comes beyond is not answered, after a complaint.
    static constexpr std::size_t kMostLateReplies = 256;

    // Takes the name. False, after a complaint, when that cannot be done.
    bool open();

    // To be called after each pass of the loop: ends conversations that are to be ended, by leaving
    // the bus and joining it anew. False, after a complaint, when the name was lost over it.
    bool after_pass();

    // Answers a request that its handler has left for later (kNever). 0, or the bus's error code
    // (nox_ipc_response).
    int answer(const std::string& to, unsigned request_id, unsigned type, const std::string& data);

    // Whether late answers are still to go out.
    bool has_late_replies() const { return !m_late.empty(); }

    nox_ipc_st* bus() const { return m_bus.get(); }

  private:
    struct LateReply {
        std::uint64_t due_ms;  // on the loop's clock
        std::string to;
        unsigned request_id;
        unsigned type;
        std::string data;
    };
    static void OnRequest(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id,
                          unsigned type, const char* data, unsigned len, void* service);
    static void OnMessage(nox_ipc_st* ipc, const nox_addr_st* from, unsigned type, const char* data,
                          unsigned len, void* service);
    void respond(const nox_addr_st* from, const Request& request, Reply reply);
    void send(const nox_addr_st* to, unsigned request_id, unsigned type, const std::string& data);
    void keep_for_later(const Request& request, Reply reply);
    void arm_timer();
    void send_due_replies();

    std::string m_name;
    Handler m_handler;
    unsigned m_late_ms;
    Bus m_bus;
    bool m_close_wanted = false;
    std::deque<LateReply> m_late;  // in the order in which they are due
    LoopHandle<uv_timer_t> m_timer;
};

}  // namespace kxapp

#endif  // KX_APPS_COMMON_SERVICE_H
