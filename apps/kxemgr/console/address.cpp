#include "kxemgr/console/address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "common/number.h"

namespace kxemgr::console {

namespace {

constexpr std::uint64_t kMostPort = 65535;

struct HostAndPort {
    std::string host;  // without brackets
    bool bracketed = false;
    std::string_view port;  // empty: none
};

// Splits "host:port", "[host]:port", "host" or "[host]".
std::optional<HostAndPort> Split(std::string_view text) {
    HostAndPort parts;
    parts.bracketed = text.starts_with('[');
    const std::size_t end = parts.bracketed ? text.find(']') : text.find(':');
    if (parts.bracketed && end == std::string_view::npos) {
        return std::nullopt;
    }
    parts.host = text.substr(parts.bracketed ? 1 : 0, parts.bracketed ? end - 1 : end);
    const std::string_view rest =
        end == std::string_view::npos ? "" : text.substr(end + (parts.bracketed ? 1 : 0));
    if (!rest.empty() && (rest[0] != ':' || rest.size() == 1)) {
        return std::nullopt;
    }
    parts.port = rest.empty() ? rest : rest.substr(1);
    return parts;
}

std::optional<in_addr> ParseIpv4(const std::string& text) {
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1 ? std::optional(address) : std::nullopt;
}

std::optional<in6_addr> ParseIpv6(const std::string& text) {
    in6_addr address{};
    return inet_pton(AF_INET6, text.c_str(), &address) == 1 ? std::optional(address) : std::nullopt;
}

bool IsSameName(std::string_view one, std::string_view other) {
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

template <class SocketAddress>
ListenAddress Made(const SocketAddress& socket_address, bool loopback) {
    ListenAddress made;
    std::memcpy(&made.socket_address, &socket_address, sizeof socket_address);
    made.length = sizeof socket_address;
    made.loopback = loopback;
    return made;
}

ListenAddress Make(const in_addr& address, std::uint16_t port) {
    sockaddr_in ipv4{};
    ipv4.sin_family = AF_INET;
    ipv4.sin_addr = address;
    ipv4.sin_port = htons(port);
    return Made(ipv4, ntohl(address.s_addr) >> 24U == IN_LOOPBACKNET);
}

ListenAddress Make(const in6_addr& address, std::uint16_t port) {
    sockaddr_in6 ipv6{};
    ipv6.sin6_family = AF_INET6;
    ipv6.sin6_addr = address;
    ipv6.sin6_port = htons(port);
    return Made(ipv6, IN6_IS_ADDR_LOOPBACK(&address) != 0);
}

}  // namespace

std::optional<ListenAddress> ParseListenAddress(std::string_view text) {
    const auto parts = Split(text);
    const auto port = parts ? kxapp::ReadNumber(parts->port) : std::nullopt;
    if (!port || *port > kMostPort) {
        return std::nullopt;
    }
    const auto number = static_cast<std::uint16_t>(*port);
    if (parts->bracketed) {
        const auto ipv6 = ParseIpv6(parts->host);
        return ipv6 ? std::optional(Make(*ipv6, number)) : std::nullopt;
    }
    const auto ipv4 =
        ParseIpv4(IsSameName(parts->host, "localhost") ? std::string("127.0.0.1") : parts->host);
    return ipv4 ? std::optional(Make(*ipv4, number)) : std::nullopt;
}

std::string UrlOf(const ListenAddress& address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address.socket_address.ss_family == AF_INET6) {
        sockaddr_in6 ipv6{};
        std::memcpy(&ipv6, &address.socket_address, sizeof ipv6);
        (void)inet_ntop(AF_INET6, &ipv6.sin6_addr, text.data(), text.size());
        return "http://[" + std::string(text.data()) +
               "]:" + std::to_string(ntohs(ipv6.sin6_port)) + "/";
    }
    sockaddr_in ipv4{};
    std::memcpy(&ipv4, &address.socket_address, sizeof ipv4);
    (void)inet_ntop(AF_INET, &ipv4.sin_addr, text.data(), text.size());
    return "http://" + std::string(text.data()) + ":" + std::to_string(ntohs(ipv4.sin_port)) + "/";
}

bool IsHostAllowed(std::string_view host, const std::vector<std::string>& names) {
    const auto parts = Split(host);
    if (!parts || (!parts->port.empty() && !kxapp::ReadNumber(parts->port))) {
        return false;
    }
    if (parts->bracketed) {
        return ParseIpv6(parts->host).has_value();
    }
    return ParseIpv4(parts->host) || IsSameName(parts->host, "localhost") ||
           std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return IsSameName(parts->host, name); });
}

}  // namespace kxemgr::console
