// A connection that a peer made, to send requests and messages by.
#ifndef NOXIPC_INBOUND_H
#define NOXIPC_INBOUND_H

#include <utility>

#include "address.h"
#include "stream.h"

namespace noxipc {

class Inbound final : public Stream {
  public:
    // Throws std::bad_alloc.
    static Inbound* Make(nox_ipc_st* instance, const StreamEnvironment& environment);

    // Takes an accepted connection over. It must be dropped when this returns an errno value.
    int Open(Descriptor socket) { return Stream::Open(std::move(socket)); }

    // Begins, once the instance knows the connection. Throws std::bad_alloc.
    int Start();

    int socket() const { return Stream::socket(); }

    // Null before the peer has greeted.
    const nox_addr_st* from() const { return from_.get(); }

  protected:
    void OnFrame(Frame frame) override;
    void OnEnd() override;
    const char* PeerName() const override;

  private:
    Inbound(nox_ipc_st* instance, const StreamEnvironment& environment)
        : Stream(environment), instance_(instance) {}

    void OnHello(const Frame& frame);

    nox_ipc_st* instance_;
    Address from_;
};

}  // namespace noxipc

#endif  // NOXIPC_INBOUND_H
