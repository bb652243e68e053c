#include "socket_echo.h"

#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "report.h"

namespace {

// All of it in one call when the socket takes it, the rest in further ones. False when the peer is
// gone.
bool Send(int socket, const char* data, std::uint32_t length) {
    iovec parts[2] = {{&length, sizeof length}, {const_cast<char*>(data), length}};
    msghdr message{};
    message.msg_iov = parts;
    message.msg_iovlen = 2;
    std::size_t left = sizeof length + length;
    while (left > 0) {
        const ssize_t sent = sendmsg(socket, &message, MSG_NOSIGNAL);
        if (sent <= 0) {
            return false;
        }
        left -= static_cast<std::size_t>(sent);
        auto done = static_cast<std::size_t>(sent);
        for (iovec& part : parts) {
            const std::size_t taken = std::min(done, part.iov_len);
            part.iov_base = static_cast<char*>(part.iov_base) + taken;
            part.iov_len -= taken;
            done -= taken;
        }
    }
    return true;
}

bool ReceiveBytes(int socket, char* to, std::size_t size) {
    while (size > 0) {
        const ssize_t received = recv(socket, to, size, MSG_WAITALL);
        if (received <= 0) {
            return false;
        }
        to += received;
        size -= static_cast<std::size_t>(received);
    }
    return true;
}

bool Receive(int socket, std::vector<char>& data) {
    std::uint32_t length = 0;
    if (!ReceiveBytes(socket, reinterpret_cast<char*>(&length), sizeof length)) {
        return false;
    }
    data.resize(length);
    return ReceiveBytes(socket, data.data(), length);
}

}  // namespace

void ServeSocket(int descriptor) {
    std::vector<char> data;
    while (Receive(descriptor, data) &&
           Send(descriptor, data.data(), static_cast<std::uint32_t>(data.size()))) {
    }
}

SocketClient::~SocketClient() {
    (void)close(socket_);
}

void SocketClient::RoundTrips(const std::string& payload, int count) {
    for (int i = 0; i < count; ++i) {
        if (!Send(socket_, payload.data(), static_cast<std::uint32_t>(payload.size())) ||
            !Receive(socket_, received_) || received_.size() != payload.size() ||
            std::memcmp(received_.data(), payload.data(), payload.size()) != 0) {
            kxbench::Fail("a round trip over the bare socket failed");
        }
    }
}
