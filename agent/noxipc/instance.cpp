#include "instance.h"

#include <algorithm>
#include <cerrno>
#include <memory>
#include <new>
#include <utility>

#include "log.h"

using noxipc::Address;
using noxipc::Frame;
using noxipc::FrameHeader;
using noxipc::Inbound;
using noxipc::Outbound;
using noxipc::Outgoing;

nox_ipc_st::nox_ipc_st(uv_loop_t* loop, std::string name, int flags)
    : loop_(loop), name_(std::move(name)), flags_(flags) {}

nox_ipc_st* nox_ipc_st::Make(uv_loop_t* loop, const std::string& name, int flags, int* error) {
    std::unique_ptr<nox_ipc_st> instance(new nox_ipc_st(loop, name, flags));
    auto* const self = instance.get();
    instance->listener_ = noxipc::Listener::Make(
        loop, name, instance->access_,
        [self](noxipc::Descriptor socket) { self->Accept(std::move(socket)); }, error);
    return *error == 0 ? instance.release() : nullptr;
}

nox_ipc_st::~nox_ipc_st() {
    listener_.reset();
    for (Outbound* const connection : outbound_) {
        connection->Drop();
    }
    for (Inbound* const connection : inbound_) {
        connection->Drop();
    }
}

noxipc::StreamEnvironment nox_ipc_st::environment() {
    return {loop_, deadlines_.get(), scratch_};
}

// The numbers start over after 2^32 requests, when one with a very long time-out may still be open.
uint32_t nox_ipc_st::NewRequestId() {
    const auto is_open = [this](const Outbound* connection) {
        return connection->IsOpen(last_request_id_);
    };
    do {
        ++last_request_id_;
    } while (std::any_of(outbound_.begin(), outbound_.end(), is_open));
    return last_request_id_;
}

void nox_ipc_st::MakeRequest(const std::string& peer, Outgoing request,
                             nox_ipc_response_cb callback, void* user, uint64_t timeout_ms) {
    request.id = NewRequestId();
    noxipc::Requests made;
    made.emplace(request.id, noxipc::Request{callback, user, 0, {}});
    auto node = made.extract(made.begin());
    int error = 0;
    try {
        Outbound* connection = nullptr;
        error = Send(peer, request, &connection);
        if (error == 0) {
            connection->Await(&node, timeout_ms);
        }
    } catch (const std::bad_alloc&) {
        error = ENOMEM;
    }
    if (error != 0) {
        failures_->Add(std::move(node), error);
    }
}

Outbound* nox_ipc_st::ConnectionTo(const std::string& peer, int* error) {
    const auto [place, is_new] = current_.try_emplace(peer, nullptr);
    if (!is_new && !place->second->IsHungUp()) {
        return place->second;
    }
    // A connection whose peer is gone stays: it may hold responses that have not been read yet.
    // They are older than those of the peer's successor, and are read before.
    Outbound* made = nullptr;
    try {
        made = Outbound::Connect({this, environment(), failures_.get()}, name_, peer, error);
        if (made != nullptr) {
            outbound_.push_back(made);
        }
    } catch (const std::bad_alloc&) {
        *error = ENOMEM;
        if (made != nullptr) {
            made->Drop();
            made = nullptr;
        }
    }
    if (made == nullptr) {
        current_.erase(place);
    } else {
        place->second = made;
        ReadFromOldest(peer);
    }
    return made;
}

void nox_ipc_st::ReadFromOldest(const std::string& peer) {
    const auto oldest = std::find_if(outbound_.begin(), outbound_.end(),
                                     [&](const Outbound* one) { return one->peer() == peer; });
    if (oldest != outbound_.end()) {
        (*oldest)->Read();
    }
}

// Returns 0 or one of the statuses of a request. The peer may go away between the look at its
// connection and the write; nothing was sent then, and one attempt with a new connection follows.
int nox_ipc_st::Send(const std::string& peer, const Outgoing& frame, Outbound** connection) {
    if (frame.length > noxipc::kMaxPayload) {
        return EMSGSIZE;
    }
    const FrameHeader header = {frame.kind, frame.type, frame.id, frame.length};
    for (int attempt = 0; attempt < 2; ++attempt) {
        int error = 0;
        *connection = ConnectionTo(peer, &error);
        if (*connection == nullptr) {
            return error;
        }
        error = (*connection)->Send(header, frame.data);
        if (error == 0 || error == ENOBUFS || error == ENOMEM) {
            return error;
        }
        // Nothing more can be sent by it; what the peer has sent before is still read. A peer that
        // is there all the same would keep its next connection from being read.
        if (!(*connection)->IsHungUp()) {
            (*connection)->End();
        }
        current_.erase(peer);
    }
    return ECONNRESET;
}

int nox_ipc_st::SendMessage(const std::string& peer, const Outgoing& message) {
    Outbound* connection = nullptr;
    return Send(peer, message, &connection);
}

int nox_ipc_st::Respond(const std::string& peer, const Outgoing& response) {
    const auto* const request = inbound_requests_.Find(response.id);
    if (request == nullptr || peer != nox_addr_name(request->connection->from())) {
        return ENOENT;
    }
    if (response.length > noxipc::kMaxPayload) {
        return EMSGSIZE;
    }
    const FrameHeader header = {response.kind, response.type, request->peer_id, response.length};
    const int error = request->connection->Send(header, response.data);
    if (error == ENOBUFS || error == ENOMEM) {
        return error;
    }
    inbound_requests_.Remove(response.id);
    return error == 0 ? 0 : ECONNRESET;
}

void nox_ipc_st::set_on_request(nox_ipc_request_cb callback, void* user) {
    on_request_ = callback;
    on_request_user_ = user;
}

void nox_ipc_st::set_on_message(nox_ipc_msg_cb callback, void* user) {
    on_message_ = callback;
    on_message_user_ = user;
}

void nox_ipc_st::OnRequest(Inbound* connection, Address from, Frame frame) {
    if (on_request_ == nullptr) {
        NOX_LOG(noxipc::kLogDebug, "a request of %s is dropped, nobody takes requests",
                nox_addr_name(from.get()));
        return;
    }
    const uint32_t id = inbound_requests_.Add(connection, frame.header.id);
    on_request_(this, from.get(), id, frame.header.type, frame.payload.get(), frame.header.length,
                on_request_user_);
}

void nox_ipc_st::OnMessage(Address from, Frame frame) {
    if (on_message_ == nullptr) {
        NOX_LOG(noxipc::kLogDebug, "a message of %s is dropped, nobody takes messages",
                nox_addr_name(from.get()));
        return;
    }
    on_message_(this, from.get(), frame.header.type, frame.payload.get(), frame.header.length,
                on_message_user_);
}

void nox_ipc_st::Accept(noxipc::Descriptor socket) {
    Inbound* connection = nullptr;
    try {
        connection = Inbound::Make(this, environment());
        if (connection->Open(std::move(socket)) != 0 || !Admit(connection)) {
            connection->Drop();
        }
    } catch (const std::bad_alloc&) {
        NOX_LOG(noxipc::kLogError, "no memory for a connection");
        if (connection != nullptr) {
            connection->End();
        }
    }
}

bool nox_ipc_st::Admit(Inbound* connection) {
    if (!access_.Allows(connection->socket())) {
        return false;
    }
    if (inbound_.size() == noxipc::kMaxInbound) {
        NOX_LOG(noxipc::kLogError, "%s has %zu connections, one more is refused", name_.c_str(),
                inbound_.size());
        return false;
    }
    inbound_.insert(connection);
    if (connection->Start() != 0) {
        connection->End();
    }
    return true;
}

void nox_ipc_st::Forget(Outbound* connection) {
    std::erase(outbound_, connection);
    const auto current = current_.find(connection->peer());
    if (current != current_.end() && current->second == connection) {
        current_.erase(current);
    }
    ReadFromOldest(connection->peer());
}

void nox_ipc_st::Forget(Inbound* connection) {
    inbound_.erase(connection);
    inbound_requests_.RemoveAll(connection);
}
