// What the kernel tells about one network interface besides its addresses. Source: netdevice(7).
#ifndef KXEPINFO_COLLECTORS_INTERFACE_H
#define KXEPINFO_COLLECTORS_INTERFACE_H

#include <array>
#include <string>

struct Interface {
    std::array<unsigned char, 6> hardware_address = {};
    bool is_up = false;
};

// Asks about the interface of that name, of which 15 characters count; the alias "eth0:1" gives
// what "eth0" gives. Of a longer hardware address the first six bytes are taken; a shorter one is
// filled up with zeros. False, and logged, when `name` is null or a request fails.
bool ReadInterface(const char* name, Interface& interface);

// "00-1A-2B-3C-4D-5E", upper case.
std::string MacText(const std::array<unsigned char, 6>& hardware_address);

#endif  // KXEPINFO_COLLECTORS_INTERFACE_H
