// One attachment to the bus.
#ifndef NOXIPC_INSTANCE_H
#define NOXIPC_INSTANCE_H

#include <array>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "access_rule.h"
#include "address.h"
#include "deadlines.h"
#include "failures.h"
#include "inbound.h"
#include "inbound_requests.h"
#include "listener.h"
#include "nox_frame.h"
#include "nox_ipc.h"
#include "outbound.h"

namespace noxipc {

inline constexpr std::size_t kMaxInbound = 256;

// A frame to be sent.
struct Outgoing {
    Kind kind;
    uint32_t type;
    uint32_t id;
    const char* data;
    uint32_t length;
};

}  // namespace noxipc

// Belongs to the thread that made it. Everything here may throw std::bad_alloc and leaves the
// instance usable then.
struct nox_ipc_st {
  public:
    // Null on failure; *error is then an errno value.
    static nox_ipc_st* Make(uv_loop_t* loop, const std::string& name, int flags, int* error);

    // Gives the name up, drops every connection and everything open. May run inside a callback of
    // this instance.
    ~nox_ipc_st();

    nox_ipc_st(const nox_ipc_st&) = delete;
    nox_ipc_st& operator=(const nox_ipc_st&) = delete;

    // Sends a request; its callback tells every outcome.
    void MakeRequest(const std::string& peer, noxipc::Outgoing request,
                     nox_ipc_response_cb callback, void* user, uint64_t timeout_ms);

    // Returns 0 or an errno value, see nox_ipc_send_msg and nox_ipc_response.
    int SendMessage(const std::string& peer, const noxipc::Outgoing& message);
    int Respond(const std::string& peer, const noxipc::Outgoing& response);

    void set_on_request(nox_ipc_request_cb callback, void* user);
    void set_on_message(nox_ipc_msg_cb callback, void* user);

    const noxipc::AccessRule& access() const { return access_; }

    // From the connections. The first two call back as their last act.
    void OnRequest(noxipc::Inbound* connection, noxipc::Address from, noxipc::Frame frame);
    void OnMessage(noxipc::Address from, noxipc::Frame frame);
    void Forget(noxipc::Outbound* connection);
    void Forget(noxipc::Inbound* connection);

  private:
    static constexpr std::size_t kScratchSize = std::size_t{64} << 10U;

    nox_ipc_st(uv_loop_t* loop, std::string name, int flags);

    noxipc::StreamEnvironment environment();
    uint32_t NewRequestId();
    noxipc::Outbound* ConnectionTo(const std::string& peer, int* error);
    void ReadFromOldest(const std::string& peer);
    int Send(const std::string& peer, const noxipc::Outgoing& frame, noxipc::Outbound** connection);
    void Accept(noxipc::Descriptor socket);
    bool Admit(noxipc::Inbound* connection);

    uv_loop_t* loop_;
    std::string name_;
    [[maybe_unused]] int flags_;
    noxipc::AccessRule access_ = noxipc::AccessRule::Load();
    std::array<char, kScratchSize> scratch_;
    noxipc::Deadlines::Pointer deadlines_ = noxipc::Deadlines::Make(loop_);
    noxipc::Failures::Pointer failures_ = noxipc::Failures::Make(loop_);
    noxipc::Listener::Pointer listener_;

    // The connection for the next request to each peer, by the peer's name.
    std::map<std::string, noxipc::Outbound*> current_;
    // Those too, and those whose peer is gone and whose last frames are still to be read, in the
    // order in which they were made. Of those to one peer only the oldest is read.
    std::vector<noxipc::Outbound*> outbound_;
    std::set<noxipc::Inbound*> inbound_;
    noxipc::InboundRequests inbound_requests_;
    uint32_t last_request_id_ = 0;

    nox_ipc_request_cb on_request_ = nullptr;
    void* on_request_user_ = nullptr;
    nox_ipc_msg_cb on_message_ = nullptr;
    void* on_message_user_ = nullptr;
};

#endif  // NOXIPC_INSTANCE_H
