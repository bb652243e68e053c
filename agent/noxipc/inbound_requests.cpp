#include "inbound_requests.h"

#include <iterator>

namespace noxipc {

uint32_t InboundRequests::NewId() {
    do {
        ++last_id_;
    } while (last_id_ == 0 || open_.contains(last_id_));
    return last_id_;
}

uint32_t InboundRequests::Add(Inbound* connection, uint32_t peer_id) {
    Order& order = orders_[connection];
    if (order.size() == kPerConnection) {
        Remove(order.front());
    }
    const uint32_t id = NewId();
    const auto place = order.insert(order.end(), id);
    try {
        open_.emplace(id, Entry{{connection, peer_id}, place});
    } catch (...) {
        order.erase(place);
        throw;
    }
    return id;
}

const InboundRequests::Request* InboundRequests::Find(uint32_t id) const {
    const auto found = open_.find(id);
    return found == open_.end() ? nullptr : &found->second.request;
}

void InboundRequests::Remove(uint32_t id) {
    const auto found = open_.find(id);
    if (found != open_.end()) {
        orders_.at(found->second.request.connection).erase(found->second.place);
        open_.erase(found);
    }
}

void InboundRequests::RemoveAll(Inbound* connection) {
    const auto found = orders_.find(connection);
    if (found == orders_.end()) {
        return;
    }
    for (const uint32_t id : found->second) {
        open_.erase(id);
    }
    orders_.erase(found);
}

}  // namespace noxipc
