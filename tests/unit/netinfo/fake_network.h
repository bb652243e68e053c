// The network of a machine as a test lays it down, in front of the C library's functions.
#ifndef KXEPINFO_TESTS_UNIT_NETINFO_FAKE_NETWORK_H
#define KXEPINFO_TESTS_UNIT_NETINFO_FAKE_NETWORK_H

#include <sys/socket.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

struct FakeInterface {
    // As long as the kind of interface has it; like the kernel, no more is written to a request.
    std::vector<unsigned char> hardware;
    bool is_up = true;
    int hardware_error = 0;  // errno of the request for the hardware address, if it fails
    int flags_error = 0;
};

// What getifaddrs tells at one place.
struct FakeEntry {
    const char* name = nullptr;
    bool has_address = false;
    sockaddr_storage address = {};
};

FakeEntry Ipv4(const char* name, const char* text);
FakeEntry Ipv6(const char* name, const char* text);
FakeEntry LinkLayer(const char* name);
FakeEntry WithoutAddress(const char* name);

struct FakeNetwork {
    std::vector<FakeEntry> entries;
    std::map<std::string, FakeInterface> interfaces;  // of one that is not here, requests fail
    int getifaddrs_error = 0;
    int socket_error = 0;
    std::string unprintable;  // the address that inet_ntop does not convert

    // "getifaddrs", "socket DOMAIN TYPE PROTOCOL", "hardware NAME", "flags NAME", "freeifaddrs".
    std::vector<std::string> events;
    std::function<void(const std::string&)> on_event;  // called with each before it takes effect
    std::vector<int> sockets;                          // descriptors given out
    int errno_at_getifaddrs = -1;
};

FakeNetwork& Network();

#endif  // KXEPINFO_TESTS_UNIT_NETINFO_FAKE_NETWORK_H
