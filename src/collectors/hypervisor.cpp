#include "collectors/hypervisor.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace {

constexpr HypervisorVendor kKnownVendors[] = {
    {'K', 'V', 'M', 'K', 'V', 'M', 'K', 'V', 'M', '\0', '\0', '\0'},
    {'M', 'i', 'c', 'r', 'o', 's', 'o', 'f', 't', ' ', 'H', 'v'},
    {'V', 'M', 'w', 'a', 'r', 'e', 'V', 'M', 'w', 'a', 'r', 'e'},
    {'X', 'e', 'n', 'V', 'M', 'M', 'X', 'e', 'n', 'V', 'M', 'M'},
    {'p', 'r', 'l', ' ', 'h', 'y', 'p', 'e', 'r', 'v', ' ', ' '},
    {'V', 'B', 'o', 'x', 'V', 'B', 'o', 'x', 'V', 'B', 'o', 'x'},
};

}  // namespace

HypervisorVendor ReadHypervisorVendor() {
    HypervisorVendor vendor{};
#if defined(__x86_64__) || defined(__i386__)
    unsigned eax = 0;
    unsigned registers[3] = {};
    // Not __get_cpuid: it refuses leaves above the processor's own highest one.
    __cpuid(0x40000000, eax, registers[0], registers[1], registers[2]);
    static_assert(sizeof registers == sizeof vendor);
    std::memcpy(vendor.data(), registers, sizeof vendor);
#endif
    return vendor;
}

bool IsKnownHypervisor(const HypervisorVendor& vendor) {
    return std::find(std::begin(kKnownVendors), std::end(kKnownVendors), vendor) !=
           std::end(kKnownVendors);
}

void IsInVirtualEnv(int& result) {
    result = IsKnownHypervisor(ReadHypervisorVendor()) ? 1 : 0;
}
