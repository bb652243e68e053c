// A network of the measurement's own, in a namespace of this process.
#ifndef KXEPINFO_BENCH_GROWTH_NETWORK_H
#define KXEPINFO_BENCH_GROWTH_NETWORK_H

#include <cstddef>
#include <string>

enum class Layout {
    kInterfaces,  // every address on an interface of its own
    kAddresses,   // all of them on one interface
};

class Network {
  public:
    // Real interfaces, up, with `count` different IPv4 addresses, 1 to 65536: a bridge, then by
    // turns pairs of Ethernet links and taps, of those the kinds that the kernel has. Where each
    // has one address, it has an IPv6 address too. Ends the program when it may not make a network,
    // or the kernel has neither pairs nor taps.
    Network(Layout layout, std::size_t count);
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    // Removes the interfaces, so that the kernel is done with it when this returns.
    ~Network();

    // The IPv4 address that the kernel tells last.
    const std::string& last_address() const { return last_address_; }

  private:
    std::string last_address_;
};

#endif  // KXEPINFO_BENCH_GROWTH_NETWORK_H
