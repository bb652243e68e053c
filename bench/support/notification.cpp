#include "notification.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <string_view>

#include "report.h"

namespace kxbench {
namespace {

constexpr int kLongestWaitMs = 30000;

}  // namespace

Notification::Notification()
    : name_("kxepinfo-bench-" + std::to_string(getpid())),
      socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // An abstract name: a zero byte, then the name.
    std::memcpy(address.sun_path + 1, name_.data(), name_.size());
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name_.size());
    if (socket_ < 0 || bind(socket_, reinterpret_cast<sockaddr*>(&address), length) != 0) {
        Fail("cannot make a socket for notifications");
    }
}

Notification::~Notification() {
    (void)close(socket_);
}

void Notification::WaitUntilReady() const {
    char text[256];
    pollfd waiting{socket_, POLLIN, 0};
    while (poll(&waiting, 1, kLongestWaitMs) == 1) {
        const ssize_t length = recv(socket_, text, sizeof text, 0);
        if (length > 0 &&
            std::string_view(text, static_cast<std::size_t>(length)).find("READY=1") !=
                std::string_view::npos) {
            return;
        }
    }
    Fail("the host did not become ready");
}

}  // namespace kxbench
