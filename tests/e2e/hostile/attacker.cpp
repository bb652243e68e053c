#include "attacker.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <array>
#include <cerrno>
#include <span>
#include <utility>

namespace kxtest {
namespace {

constexpr int kLookEvery = 20;  // milliseconds

// By the directory's descriptor, since the installation's path may be too long for an address.
sockaddr_un AddressOf(const noxipc::Descriptor& directory, std::string_view server) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    const std::string path =
        "/proc/self/fd/" + std::to_string(directory.get()) + "/" + std::string(server) + ".sock";
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

}  // namespace

std::string HeaderBytes(noxipc::Kind kind, unsigned type, unsigned id, uint32_t length) {
    const auto header = noxipc::Encode({kind, type, id, length});
    return {header.data(), header.size()};
}

std::string FrameBytes(noxipc::Kind kind, unsigned type, unsigned id, std::string_view payload) {
    return HeaderBytes(kind, type, id, static_cast<uint32_t>(payload.size())).append(payload);
}

std::string Greeting(std::string_view name) {
    return FrameBytes(noxipc::Kind::kHello, 0, 0, name);
}

Attacker::Attacker(const AgentInstallation& installation, std::string_view server)
    : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    const noxipc::Descriptor directory(
        open(installation.path("var/run/ipc").c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const sockaddr_un address = AddressOf(directory, server);
    m_connected =
        connect(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

bool Attacker::Send(std::string_view bytes, const std::stop_token& stop) const {
    while (!bytes.empty() && !stop.stop_requested()) {
        const ssize_t sent = send(m_socket.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (sent >= 0) {
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        } else if (errno == EAGAIN) {
            pollfd room = {m_socket.get(), POLLOUT, 0};
            (void)poll(&room, 1, kLookEvery);
        } else {
            return false;
        }
    }
    return true;
}

void Attacker::Receive() {
    std::array<char, 65536> buffer;
    ssize_t size = 0;
    while ((size = recv(m_socket.get(), buffer.data(), buffer.size(), 0)) > 0) {
        std::span<const char> rest(buffer.data(), static_cast<std::size_t>(size));
        while (!rest.empty()) {
            noxipc::Frame frame;
            m_responses += m_decoder.Feed(&rest, &frame) == noxipc::FrameDecoder::Result::kFrame;
        }
    }
    m_closed = m_closed || size == 0 || errno != EAGAIN;
}

std::size_t Attacker::ResponseCount() {
    Receive();
    return m_responses;
}

bool Attacker::IsClosed() {
    Receive();
    return m_closed;
}

Flood::Flood(const AgentInstallation& installation, std::string server, std::string bytes,
             Answers answers)
    : m_thread([this, &installation, server = std::move(server), bytes = std::move(bytes),
                answers](const std::stop_token& stop) {
          while (!stop.stop_requested()) {
              Attacker attacker(installation, server);
              bool connected = attacker.Send(Greeting("flood"), stop);
              while (connected && !stop.stop_requested()) {
                  connected = attacker.Send(bytes, stop);
                  m_sent += connected;
                  connected = connected && !(answers == Answers::kRead && attacker.IsClosed());
              }
          }
      }) {}

Flood::~Flood() {
    m_thread.request_stop();
    m_thread.join();
    EXPECT_GT(m_sent, 0U);
}

}  // namespace kxtest
