// Peers that do not keep to the rules: plain sockets under the test's control, without a loop.
#ifndef TESTS_UNIT_NOXIPC_RAW_PEER_H
#define TESTS_UNIT_NOXIPC_RAW_PEER_H

#include <optional>
#include <string>
#include <vector>

#include "descriptor.h"
#include "nox_frame.h"

std::string FrameBytes(noxipc::Kind kind, unsigned type, unsigned id, const std::string& payload);
std::string HelloBytes(const std::string& name);

// One end of a connection. Never waits.
class RawPeer {
  public:
    // Connects to an instance.
    explicit RawPeer(const std::string& instance);

    // Is what a RawListener has accepted.
    explicit RawPeer(noxipc::Descriptor socket) : socket_(std::move(socket)) {}

    // Writes all of it; what does not fit into the socket at once is a failure of the test.
    void Send(const std::string& bytes);

    // Writes what fits; how many bytes did.
    std::size_t SendSome(const std::string& bytes);

    // The frames that have come since the last call.
    struct Received {
        noxipc::FrameHeader header;
        std::string payload;
    };
    std::vector<Received> Receive();

    // Whether the other end has closed the connection, with nothing left to be read.
    bool IsClosed();

    void Close() { socket_.Reset(); }

    int socket() const { return socket_.get(); }

  private:
    noxipc::Descriptor socket_;
    noxipc::FrameDecoder decoder_;
};

// A socket under an instance's name.
class RawListener {
  public:
    explicit RawListener(const std::string& instance);

    // The connection that waits. Null when there is none.
    std::optional<RawPeer> Accept();

    void Close() { socket_.Reset(); }

  private:
    noxipc::Descriptor socket_;
};

#endif  // TESTS_UNIT_NOXIPC_RAW_PEER_H
