#include "raw_peer.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "bus_directory.h"

using noxipc::BusDirectory;
using noxipc::Descriptor;

namespace {

Descriptor NewSocket() {
    return Descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

}  // namespace

std::string FrameBytes(noxipc::Kind kind, unsigned type, unsigned id, const std::string& payload) {
    const auto header = noxipc::Encode({kind, type, id, static_cast<uint32_t>(payload.size())});
    return std::string(header.data(), header.size()) + payload;
}

std::string HelloBytes(const std::string& name) {
    return FrameBytes(noxipc::Kind::kHello, 0, 0, name);
}

RawPeer::RawPeer(const std::string& instance) : socket_(NewSocket()) {
    int error = 0;
    const auto directory = BusDirectory::Open(&error);
    const sockaddr_un address = directory.Address(instance + ".sock");
    EXPECT_EQ(0,
              connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address))
        << errno;
}

std::size_t RawPeer::SendSome(const std::string& bytes) {
    std::size_t sent = 0;
    while (sent < bytes.size()) {
        const ssize_t size =
            send(socket_.get(), bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
        if (size <= 0) {
            break;
        }
        sent += static_cast<std::size_t>(size);
    }
    return sent;
}

void RawPeer::Send(const std::string& bytes) {
    EXPECT_EQ(bytes.size(), SendSome(bytes));
}

std::vector<RawPeer::Received> RawPeer::Receive() {
    std::vector<Received> frames;
    std::array<char, 65536> buffer;
    ssize_t size = 0;
    while ((size = recv(socket_.get(), buffer.data(), buffer.size(), 0)) > 0) {
        std::span<const char> rest(buffer.data(), static_cast<std::size_t>(size));
        while (!rest.empty()) {
            noxipc::Frame frame;
            const auto result = decoder_.Feed(&rest, &frame);
            if (result == noxipc::FrameDecoder::Result::kFrame) {
                frames.push_back(
                    {frame.header, std::string(frame.payload.get(), frame.header.length)});
            } else if (result != noxipc::FrameDecoder::Result::kNeedMore) {
                ADD_FAILURE() << "the bus sent a malformed frame";
                return frames;
            }
        }
    }
    return frames;
}

bool RawPeer::IsClosed() {
    char byte = 0;
    const ssize_t size = recv(socket_.get(), &byte, 1, MSG_PEEK);
    return size == 0 || (size < 0 && errno == ECONNRESET);
}

RawListener::RawListener(const std::string& instance) : socket_(NewSocket()) {
    int error = 0;
    const auto directory = BusDirectory::Make({}, &error);
    EXPECT_EQ(0, error);
    const std::string file = instance + ".sock";
    (void)unlinkat(directory.descriptor(), file.c_str(), 0);
    const sockaddr_un address = directory.Address(file);
    EXPECT_EQ(0, bind(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address));
    EXPECT_EQ(0, listen(socket_.get(), 100));
}

std::optional<RawPeer> RawListener::Accept() {
    Descriptor accepted(accept4(socket_.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
    if (!accepted.valid()) {
        return std::nullopt;
    }
    return RawPeer(std::move(accepted));
}
