#include "collectors/netinfo.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <memory>

#include "collectors/adapterindex.h"
#include "collectors/interface.h"
#include "common/log.h"

namespace {

constexpr char kLogTag[] = "netinfo";

struct FreeEntries {
    void operator()(ifaddrs* entries) const { freeifaddrs(entries); }
};
using Entries = std::unique_ptr<ifaddrs, FreeEntries>;

// The list while it grows.
struct GrowingList {
    std::vector<_stAdapterInfo>& adapters;
    AdapterIndex index;

    // The adapter of that name, appended with the hardware address when it is not there yet.
    _stAdapterInfo& Adapter(const char* name, const Interface& interface) {
        if (const auto position = index.FindAdapterByName(name)) {
            return adapters[*position];
        }
        _stAdapterInfo& adapter = adapters.emplace_back();
        adapter.if_mac = MacText(interface.hardware_address);
        adapter.if_name = name;
        index.Append();
        return adapter;
    }
};

template <std::size_t size>
bool ToText(int family, const void* address, char (&text)[size]) {
    if (inet_ntop(family, address, text, size) == nullptr) {
        const int error = errno;
        EP_LOG(kLogError, "GetNetInfo,inet_ntop fail with error code %d,error: %s\n", error,
               std::strerror(error));
        return false;
    }
    return true;
}

void AddIpv4(const ifaddrs& entry, const Interface& interface, GrowingList& list) {
    char text[INET_ADDRSTRLEN] = {};
    const auto& address = reinterpret_cast<const sockaddr_in&>(*entry.ifa_addr);
    // This one address only: others that loop back are somebody's own.
    if (ToText(AF_INET, &address.sin_addr, text) && std::strcmp(text, "127.0.0.1") != 0) {
        list.Adapter(entry.ifa_name, interface).if_ipv4.emplace_back(text);
    }
}

void AddIpv6(const ifaddrs& entry, const Interface& interface, GrowingList& list) {
    if (std::strcmp(entry.ifa_name, "lo") == 0) {
        return;
    }
    char text[INET6_ADDRSTRLEN] = {};
    const auto& address = reinterpret_cast<const sockaddr_in6&>(*entry.ifa_addr);
    if (ToText(AF_INET6, &address.sin6_addr, text) && std::strcmp(text, "::") != 0) {
        list.Adapter(entry.ifa_name, interface).if_ipv6.emplace_back(text);
    }
}

void AddEntry(const ifaddrs& entry, GrowingList& list) {
    if (entry.ifa_addr == nullptr) {
        return;
    }
    // Asked for every family, so what is wrong with an interface without addresses is told as well.
    Interface interface;
    if (!ReadInterface(entry.ifa_name, interface)) {
        EP_LOG(kLogError, "error get mac\n");
        return;
    }
    if (!interface.is_up) {
        return;
    }
    if (entry.ifa_addr->sa_family == AF_INET) {
        AddIpv4(entry, interface, list);
    } else if (entry.ifa_addr->sa_family == AF_INET6) {
        AddIpv6(entry, interface, list);
    }
}

void AddEntries(const ifaddrs* first, std::vector<_stAdapterInfo>& adapters) {
    GrowingList list{.adapters = adapters, .index = AdapterIndex(adapters)};
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        AddEntry(*entry, list);
    }
}

}  // namespace

int GetNetInfo(std::vector<_stAdapterInfo>& adapters) {
    adapters.clear();
    ifaddrs* first = nullptr;
    errno = 0;
    if (getifaddrs(&first) != 0) {
        const int error = errno;
        EP_LOG(kLogError, "getifaddrs fail with error:%s", std::strerror(error));
        return error;
    }
    const Entries entries(first);
    AddEntries(entries.get(), adapters);
    (void)TransNetInfo(adapters);  // the list is good in the kernel's order too
    return 0;
}
