#include "fake_network.h"

#include <arpa/inet.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

FakeNetwork& Network() {
    static FakeNetwork network;
    return network;
}

namespace {

template <class Address>
FakeEntry Entry(const char* name, const Address& address) {
    FakeEntry entry{.name = name, .has_address = true, .address = {}};
    std::memcpy(&entry.address, &address, sizeof address);
    return entry;
}

void Parse(int family, const char* text, void* address) {
    if (inet_pton(family, text, address) != 1) {
        std::fprintf(stderr, "not an address: %s\n", text);
        std::abort();
    }
}

void Tell(const std::string& event) {
    Network().events.push_back(event);
    if (Network().on_event) {
        Network().on_event(event);
    }
}

int Fail(int error) {
    errno = error;
    return -1;
}

// The interface that a request is about: of an alias the one before the colon.
FakeInterface* Asked(const std::string& name) {
    const auto found = Network().interfaces.find(name.substr(0, name.find(':')));
    return found == Network().interfaces.end() ? nullptr : &found->second;
}

int AnswerHardware(const FakeInterface& interface, ifreq& request) {
    if (interface.hardware_error != 0) {
        return Fail(interface.hardware_error);
    }
    const std::size_t size = std::min(interface.hardware.size(), sizeof request.ifr_hwaddr.sa_data);
    std::copy_n(interface.hardware.begin(), size, request.ifr_hwaddr.sa_data);
    return 0;
}

int AnswerFlags(const FakeInterface& interface, ifreq& request) {
    if (interface.flags_error != 0) {
        return Fail(interface.flags_error);
    }
    request.ifr_flags = static_cast<short>(IFF_BROADCAST | (interface.is_up ? IFF_UP : 0));
    return 0;
}

ifaddrs* NewEntries() {
    ifaddrs* first = nullptr;
    ifaddrs** next = &first;
    for (FakeEntry& entry : Network().entries) {
        *next = new ifaddrs{};
        (*next)->ifa_name = const_cast<char*>(entry.name);
        (*next)->ifa_addr =
            entry.has_address ? reinterpret_cast<sockaddr*>(&entry.address) : nullptr;
        next = &(*next)->ifa_next;
    }
    return first;
}

}  // namespace

FakeEntry Ipv4(const char* name, const char* text) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    Parse(AF_INET, text, &address.sin_addr);
    return Entry(name, address);
}

FakeEntry Ipv6(const char* name, const char* text) {
    sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    Parse(AF_INET6, text, &address.sin6_addr);
    return Entry(name, address);
}

FakeEntry LinkLayer(const char* name) {
    sockaddr address = {};
    address.sa_family = AF_PACKET;
    return Entry(name, address);
}

FakeEntry WithoutAddress(const char* name) {
    return {.name = name, .has_address = false, .address = {}};
}

extern "C" {

int getifaddrs(ifaddrs** first) noexcept {
    Network().errno_at_getifaddrs = errno;
    Tell("getifaddrs");
    if (Network().getifaddrs_error != 0) {
        return Fail(Network().getifaddrs_error);
    }
    *first = NewEntries();
    return 0;
}

void freeifaddrs(ifaddrs* first) noexcept {
    Tell("freeifaddrs");
    while (first != nullptr) {
        delete std::exchange(first, first->ifa_next);
    }
}

int socket(int domain, int type, int protocol) noexcept {
    Tell("socket " + std::to_string(domain) + " " + std::to_string(type) + " " +
         std::to_string(protocol));
    if (Network().socket_error != 0) {
        return Fail(Network().socket_error);
    }
    const int descriptor = open("/dev/null", O_RDONLY | O_CLOEXEC);
    Network().sockets.push_back(descriptor);
    return descriptor;
}

int ioctl(int descriptor, unsigned long what, ...) noexcept {
    va_list arguments;
    va_start(arguments, what);
    ifreq& request = *va_arg(arguments, ifreq*);
    va_end(arguments);
    if (Network().sockets.empty() || descriptor != Network().sockets.back() ||
        (what != SIOCGIFHWADDR && what != SIOCGIFFLAGS)) {
        return Fail(ENOTTY);
    }
    const std::string name(request.ifr_name, strnlen(request.ifr_name, sizeof request.ifr_name));
    Tell((what == SIOCGIFHWADDR ? "hardware " : "flags ") + name);
    const FakeInterface* const interface = Asked(name);
    if (interface == nullptr) {
        return Fail(ENODEV);
    }
    return what == SIOCGIFHWADDR ? AnswerHardware(*interface, request)
                                 : AnswerFlags(*interface, request);
}

const char* inet_ntop(int family, const void* address, char* text, socklen_t size) noexcept {
    static const auto real = reinterpret_cast<decltype(&inet_ntop)>(dlsym(RTLD_NEXT, "inet_ntop"));
    const char* const result = real(family, address, text, size);
    if (result != nullptr && Network().unprintable == result) {
        errno = ENOSPC;
        return nullptr;
    }
    return result;
}

}  // extern "C"
