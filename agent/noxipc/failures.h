// Requests, and the way in which those without a response end.
#ifndef NOXIPC_FAILURES_H
#define NOXIPC_FAILURES_H

#include <uv.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

#include "deadlines.h"
#include "nox_ipc.h"

namespace noxipc {

struct Request {
    nox_ipc_response_cb callback = nullptr;
    void* user = nullptr;
    int status = 0;  // why it failed
    std::optional<Deadlines::Entry> deadline;
};

// By request id. A request moves between such maps without an allocation, so it cannot get lost on
// its way to its callback.
using Requests = std::map<uint32_t, Request>;

// The failed requests of an instance. Their callbacks run in a later pass of the loop, never from
// where the failure was noticed.
//
// Lives until its handle is closed, which takes a pass of the loop after Close.
class Failures {
  public:
    struct CloseLater {
        void operator()(Failures* failures) const { failures->Close(); }
    };
    using Pointer = std::unique_ptr<Failures, CloseLater>;

    // Throws std::bad_alloc.
    static Pointer Make(uv_loop_t* loop);

    // Takes over a request, whose deadline is no longer registered.
    void Add(Requests::node_type request, int status);

  private:
    explicit Failures(uv_loop_t* loop);
    ~Failures() = default;
    Failures(const Failures&) = delete;
    Failures& operator=(const Failures&) = delete;

    void Close();
    void Deliver();
    static void OnPass(uv_idle_t* idle);

    // Ids are unique among open requests only, not among those that wait here.
    std::multimap<uint32_t, Request> waiting_;     // for the next pass
    std::multimap<uint32_t, Request> delivering_;  // in this one
    uv_idle_t next_pass_ = {};
};

}  // namespace noxipc

#endif  // NOXIPC_FAILURES_H
