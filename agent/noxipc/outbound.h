// A connection that this instance made, to send requests and messages by.
#ifndef NOXIPC_OUTBOUND_H
#define NOXIPC_OUTBOUND_H

#include <string>

#include "failures.h"
#include "stream.h"

namespace noxipc {

// What an outbound connection needs of its instance.
struct OutboundContext {
    nox_ipc_st* instance;
    StreamEnvironment environment;
    Failures* failures;
};

class Outbound final : public Stream {
  public:
    // Connects to the peer `peer`, checks who it is and greets it with `name`, the instance's own.
    // It does not read yet.
    // Null on failure; *error is then one of the statuses of a request. Throws std::bad_alloc.
    static Outbound* Connect(const OutboundContext& context, const std::string& name,
                             const std::string& peer, int* error);

    const std::string& peer() const { return peer_; }

    // Begins to read, once; ends the connection when that fails.
    void Read();

    // Takes over a request that has been sent, to wait for its response. Throws std::bad_alloc
    // before anything is changed.
    void Await(Requests::node_type* request, uint64_t timeout_ms);

    bool IsOpen(uint32_t id) const { return open_.contains(id); }

  protected:
    void OnFrame(Frame frame) override;
    void OnEnd() override;
    const char* PeerName() const override { return peer_.c_str(); }

  private:
    Outbound(const OutboundContext& context, std::string peer);

    int Greet(const std::string& name);
    Requests::node_type Take(uint32_t id);
    void TimeOut(uint32_t id);
    bool PutOff(Requests::node_type* request);

    OutboundContext context_;
    std::string peer_;
    Requests open_;
};

}  // namespace noxipc

#endif  // NOXIPC_OUTBOUND_H
