// Where the console listens, and under which names it may be asked for.
#ifndef KX_APPS_KXEMGR_CONSOLE_ADDRESS_H
#define KX_APPS_KXEMGR_CONSOLE_ADDRESS_H

#include <sys/socket.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kxemgr::console {

struct ListenAddress {
    sockaddr_storage socket_address{};
    socklen_t length = 0;
    bool loopback = false;  // 127.0.0.0/8 or ::1: reached from this machine only
};

// "127.0.0.1:8627", "[::1]:8627", "localhost:8627" (which is 127.0.0.1) or another address of the
// machine; no other names, so that a name server has no say in it. Port 0 is any free one. Nothing
// when it is none of these.
std::optional<ListenAddress> ParseListenAddress(std::string_view text);

// "http://127.0.0.1:8627/".
std::string UrlOf(const ListenAddress& address);

// Whether a request with this Host header is meant for the console: an address as a number,
// "localhost", or one of `names`, in any case and with or without a port. A page of a foreign site
// whose name has been made to lead here (DNS rebinding) is told by the name that it asks for.
bool IsHostAllowed(std::string_view host, const std::vector<std::string>& names);

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_ADDRESS_H
