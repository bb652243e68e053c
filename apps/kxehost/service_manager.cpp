#include "kxehost/service_manager.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "common/complain.h"

namespace kxehost {

namespace {

// 0, or an errno value.
int SendDatagram(const std::string& name, const std::string& message) {
    sockaddr_un address{};
    if (name.size() >= sizeof address.sun_path) {
        return ENAMETOOLONG;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, name.data(), name.size());
    if (name[0] == '@') {  // written so in the environment, which cannot carry the zero byte
        address.sun_path[0] = '\0';
    }
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    const int descriptor = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0) {
        return errno;
    }
    const ssize_t sent = sendto(descriptor, message.data(), message.size(), MSG_NOSIGNAL,
                                reinterpret_cast<const sockaddr*>(&address), length);
    const int failure = sent < 0 ? errno : 0;
    close(descriptor);
    return failure;
}

std::uint64_t MonotonicMicroseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 +
           static_cast<std::uint64_t>(now.tv_nsec) / 1'000;
}

}  // namespace

ServiceManager::ServiceManager() {
    if (const char* name = std::getenv("NOTIFY_SOCKET")) {
        m_socket = name;
        unsetenv("NOTIFY_SOCKET");
    }
}

void ServiceManager::ready() const {
    send("READY=1\n");
}

void ServiceManager::reloading() const {
    send("RELOADING=1\nMONOTONIC_USEC=" + std::to_string(MonotonicMicroseconds()) + "\n");
}

void ServiceManager::stopping() const {
    send("STOPPING=1\n");
}

void ServiceManager::send(const std::string& message) const {
    if (m_socket.empty()) {
        return;
    }
    const int failure = SendDatagram(m_socket, message);
    if (failure != 0) {
        kxapp::Complain("cannot notify the service manager at %s: %s", m_socket.c_str(),
                        std::strerror(failure));
    }
}

}  // namespace kxehost
