#include "outbound.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "bus_directory.h"
#include "instance.h"
#include "log.h"

namespace noxipc {
namespace {

// Everything that comes down to nobody being there who could be talked to is ECONNREFUSED.
int Status(int error) {
    switch (error) {
        case EMFILE:
        case ENFILE:
        case ENOBUFS:
        case EAGAIN:  // the peer is there, and more are waiting for it than it takes
            return ENOBUFS;
        case ENOMEM:
            return ENOMEM;
        default:
            return ECONNREFUSED;
    }
}

// A Unix socket connects at once or not at all, also when it does not block.
Descriptor ConnectSocket(const std::string& peer, int* error) {
    const BusDirectory directory = BusDirectory::Open(error);
    if (*error != 0) {
        return {};
    }
    Descriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_un address = directory.Address(peer + ".sock");
    if (!socket.valid() ||
        connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        *error = errno;
        return {};
    }
    return socket;
}

}  // namespace

Outbound::Outbound(const OutboundContext& context, std::string peer)
    : Stream(context.environment), context_(context), peer_(std::move(peer)) {}

Outbound* Outbound::Connect(const OutboundContext& context, const std::string& name,
                            const std::string& peer, int* error) {
    Descriptor socket = ConnectSocket(peer, error);
    if (!socket.valid()) {
        NOX_LOG(kLogDebug, "%s cannot be reached: %s", peer.c_str(), std::strerror(*error));
        *error = Status(*error);
        return nullptr;
    }
    if (!context.instance->access().Allows(socket.get())) {
        *error = ECONNREFUSED;
        return nullptr;
    }
    auto* const made = new Outbound(context, peer);
    *error = made->Open(std::move(socket));
    if (*error == 0) {
        *error = made->Greet(name);
    }
    if (*error == 0) {
        return made;
    }
    *error = Status(*error);
    made->Drop();
    return nullptr;
}

int Outbound::Greet(const std::string& name) {
    const FrameHeader hello = {Kind::kHello, 0, 0, static_cast<uint32_t>(name.size())};
    return Send(hello, name.data());
}

void Outbound::Read() {
    if (!IsReading() && StartReading() != 0) {
        End();
    }
}

void Outbound::Await(Requests::node_type* request, uint64_t timeout_ms) {
    const uint32_t id = request->key();
    request->mapped().deadline =
        context_.environment.deadlines->Add(timeout_ms, [this, id] { TimeOut(id); });
    open_.insert(std::move(*request));
}

Requests::node_type Outbound::Take(uint32_t id) {
    auto request = open_.extract(id);
    if (!request.empty() && request.mapped().deadline) {
        context_.environment.deadlines->Remove(*request.mapped().deadline);
        request.mapped().deadline.reset();
    }
    return request;
}

void Outbound::TimeOut(uint32_t id) {
    auto request = open_.extract(id);
    if (IsHeldBack() && PutOff(&request)) {
        return;
    }
    request.mapped().deadline.reset();
    context_.failures->Add(std::move(request), ETIMEDOUT);
}

// The response may have come in time and not been looked at. False without memory.
bool Outbound::PutOff(Requests::node_type* request) {
    try {
        Await(request, kLookAgainMs);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void Outbound::OnFrame(Frame frame) {
    if (frame.header.kind != Kind::kResponse) {
        NOX_LOG(kLogError, "%s sent something else than a response, its connection ends",
                peer_.c_str());
        End();
        return;
    }
    const auto request = Take(frame.header.id);
    if (request.empty()) {
        NOX_LOG(kLogInformation, "a response of %s to request %u, which is not open, is dropped",
                peer_.c_str(), frame.header.id);
        return;
    }
    // Nothing follows: the callback may destroy the instance.
    request.mapped().callback(0, frame.header.type, frame.payload.get(), frame.header.length,
                              request.mapped().user);
}

void Outbound::OnEnd() {
    while (!open_.empty()) {
        context_.failures->Add(Take(open_.begin()->first), ECONNRESET);
    }
    context_.instance->Forget(this);
}

}  // namespace noxipc
