// An echo over the bus: an instance that answers every request with its own data, and one that
// asks.
#ifndef KXEPINFO_BENCH_BUS_BUS_ECHO_H
#define KXEPINFO_BENCH_BUS_BUS_ECHO_H

#include <cstddef>
#include <memory>
#include <string>

#include "nox_ipc.h"

// The server that a BusClient asks.
inline constexpr char kEchoServer[] = "bench_echo";

// Answers under that name until the process is ended.
[[noreturn]] void ServeBus(const char* name);

class BusClient {
  public:
    // Waits until kEchoServer answers. Ends the program when it does not.
    BusClient();

    // Sends `payload` and waits for it to come back, `count` times, one after the other. Ends the
    // program when something else comes back.
    void RoundTrips(const std::string& payload, int count);

  private:
    struct Destroy {
        void operator()(nox_ipc_st* ipc) const { nox_ipc_destroy(ipc); }
        void operator()(nox_addr_st* addr) const { nox_addr_destroy(addr); }
    };

    static void OnResponse(int status, unsigned type, const char* data, unsigned len, void* user);
    int RoundTrip(const std::string& payload);

    std::unique_ptr<nox_ipc_st, Destroy> ipc_;
    std::unique_ptr<nox_addr_st, Destroy> server_;
    const std::string* expected_ = nullptr;
    bool answered_ = false;
    int status_ = 0;
};

#endif  // KXEPINFO_BENCH_BUS_BUS_ECHO_H
