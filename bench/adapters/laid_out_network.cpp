#include "laid_out_network.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <vector>

namespace {

constexpr int kSocket = 1 << 20;  // above every descriptor that the kernel gives out

struct Entry {
    ifaddrs told{};
    sockaddr_in address{};
    std::string name;
};

std::vector<Entry>& Entries() {
    static std::vector<Entry> entries;
    return entries;
}

}  // namespace

void LayOutNetwork(Layout layout, std::size_t count, unsigned number) {
    std::vector<Entry>& entries = Entries();
    entries = std::vector<Entry>(count);
    for (std::size_t i = 0; i < count; ++i) {
        Entry& entry = entries[i];
        entry.name = layout == Layout::kOneAdapter ? "eth0" : "veth" + std::to_string(i);
        entry.address.sin_family = AF_INET;
        const auto address = 10U << 24U | number << 16U | static_cast<unsigned>(i);
        entry.address.sin_addr.s_addr = htonl(address);
        entry.told.ifa_name = entry.name.data();
        entry.told.ifa_addr = reinterpret_cast<sockaddr*>(&entry.address);
        entry.told.ifa_next = i + 1 < count ? &entries[i + 1].told : nullptr;
    }
}

std::string LastAddress() {
    char text[INET_ADDRSTRLEN] = {};
    (void)inet_ntop(AF_INET, &Entries().back().address.sin_addr, text, sizeof text);
    return text;
}

extern "C" {

int getifaddrs(ifaddrs** first) noexcept {
    *first = Entries().empty() ? nullptr : &Entries().front().told;
    return 0;
}

void freeifaddrs(ifaddrs* /*first*/) noexcept {}

int socket(int /*domain*/, int /*type*/, int /*protocol*/) noexcept {
    return kSocket;
}

// Of every interface: up, with a hardware address of zeros.
int ioctl(int descriptor, unsigned long what, ...) noexcept {
    va_list arguments;
    va_start(arguments, what);
    auto* const request = va_arg(arguments, ifreq*);
    va_end(arguments);
    if (descriptor != kSocket) {
        errno = ENOTTY;
        return -1;
    }
    if (what == SIOCGIFFLAGS) {
        request->ifr_flags = IFF_UP;
    }
    return 0;
}

int close(int descriptor) {
    return descriptor == kSocket ? 0 : static_cast<int>(syscall(SYS_close, descriptor));
}

// How long a disk takes says nothing about the number of addresses.
int fsync(int /*descriptor*/) {
    return 0;
}

}  // extern "C"
