// Requests of peers that wait for a response.
#ifndef NOXIPC_INBOUND_REQUESTS_H
#define NOXIPC_INBOUND_REQUESTS_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>

namespace noxipc {

class Inbound;

// Some requests are never answered, and that is normal. So only the newest of each connection are
// remembered, and none beyond the connection's end.
class InboundRequests {
  public:
    static constexpr std::size_t kPerConnection = 1024;

    struct Request {
        Inbound* connection;
        uint32_t peer_id;  // what the peer calls it
    };

    // Remembers a request and returns the instance's own id for it, which is not 0 and not one that
    // is in use. The connection's oldest is forgotten for it when there are too many. Throws
    // std::bad_alloc.
    uint32_t Add(Inbound* connection, uint32_t peer_id);

    // Null when there is none of that id. Valid until the next change.
    const Request* Find(uint32_t id) const;

    void Remove(uint32_t id);

    // Forgets all requests of a connection.
    void RemoveAll(Inbound* connection);

    std::size_t size() const { return open_.size(); }

  private:
    using Order = std::list<uint32_t>;  // of one connection's requests, the oldest first

    struct Entry {
        Request request;
        Order::iterator place;
    };

    uint32_t NewId();

    std::unordered_map<uint32_t, Entry> open_;
    std::unordered_map<Inbound*, Order> orders_;
    uint32_t last_id_ = 0;
};

}  // namespace noxipc

#endif  // NOXIPC_INBOUND_REQUESTS_H
