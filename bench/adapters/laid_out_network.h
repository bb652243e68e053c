// A network as a measurement lays it down, in front of the C library's functions: interfaces cost
// next to nothing to ask about, so what is measured is the module's own work.
#ifndef KXEPINFO_BENCH_ADAPTERS_LAID_OUT_NETWORK_H
#define KXEPINFO_BENCH_ADAPTERS_LAID_OUT_NETWORK_H

#include <cstddef>
#include <string>

enum class Layout {
    kOneAdapterEach,  // every address on an adapter of its own
    kOneAdapter,      // all of them on one
};

// From now on getifaddrs tells `count` IPv4 addresses, all different, at most 65536. Networks with
// different numbers, 0 to 255, have no address in common.
void LayOutNetwork(Layout layout, std::size_t count, unsigned number = 0);

// The address that getifaddrs tells last.
std::string LastAddress();

#endif  // KXEPINFO_BENCH_ADAPTERS_LAID_OUT_NETWORK_H
