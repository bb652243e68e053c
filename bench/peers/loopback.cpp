#include "loopback.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "report.h"

namespace {

// Below those that the kernel gives out by itself, and within what the peers take.
constexpr int kFirstPort = 20000;
constexpr int kPorts = 10000;
constexpr int kMostTries = 200;
constexpr useconds_t kPause = 100000;

sockaddr_in Address(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int MakeSocket(int type) {
    const int descriptor = socket(AF_INET, type | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        kxbench::Fail("cannot make a socket");
    }
    return descriptor;
}

bool Bind(int descriptor, int port) {
    const sockaddr_in address = Address(port);
    return bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
}

int Connect(int port) {
    const sockaddr_in address = Address(port);
    for (int i = 0; i < kMostTries; ++i) {
        const int descriptor = MakeSocket(SOCK_STREAM);
        if (connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
            return descriptor;
        }
        (void)close(descriptor);
        (void)usleep(kPause);
    }
    kxbench::Fail("nobody listens on port " + std::to_string(port));
}

}  // namespace

int FreePort() {
    static int next = getpid();
    for (int i = 0; i < kPorts; ++i) {
        const int port = kFirstPort + next++ % kPorts;
        const int descriptor = MakeSocket(SOCK_STREAM);
        const bool is_free = Bind(descriptor, port);
        (void)close(descriptor);
        if (is_free) {
            return port;
        }
    }
    kxbench::Fail("no port is free");
}

std::string Exchange(int port, const std::string& request) {
    const int descriptor = Connect(port);
    if (send(descriptor, request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size())) {
        kxbench::Fail("cannot send a request");
    }
    std::string answer;
    char bytes[16384];
    ssize_t count = 0;
    while ((count = recv(descriptor, bytes, sizeof bytes, 0)) > 0) {
        answer.append(bytes, static_cast<std::size_t>(count));
    }
    (void)close(descriptor);
    return answer;
}

Receiver::Receiver() : socket_(MakeSocket(SOCK_DGRAM)) {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    if (!Bind(socket_, 0) ||
        getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        kxbench::Fail("cannot receive on the loop-back interface");
    }
    port_ = ntohs(address.sin_port);
}

Receiver::~Receiver() {
    (void)close(socket_);
}

std::size_t Receiver::Take() {
    std::size_t taken = 0;
    char bytes[65536];
    ssize_t count = 0;
    while ((count = recv(socket_, bytes, sizeof bytes, MSG_DONTWAIT)) > 0) {
        taken += static_cast<std::size_t>(count);
    }
    return taken;
}
