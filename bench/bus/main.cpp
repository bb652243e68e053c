// Round trips between two processes, one after the other: over the bus, and over a bare Unix socket
// with blocking calls. Both send the same data, get it back and compare it. The two take turns
// within one run, so that whatever else the machine does meets both.
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "bus_echo.h"
#include "child.h"
#include "report.h"
#include "socket_echo.h"

namespace {

constexpr int kRounds = 11;

// Microseconds a round trip.
template <class Client>
double Measure(Client& client, const std::string& payload, int count) {
    const auto started = std::chrono::steady_clock::now();
    client.RoundTrips(payload, count);
    const std::chrono::duration<double, std::micro> taken =
        std::chrono::steady_clock::now() - started;
    return taken.count() / count;
}

void Compare(BusClient& bus, SocketClient& socket, const std::string& size_name, std::size_t size,
             int count) {
    const std::string payload(size, 'x');
    (void)Measure(bus, payload, count);  // the first of each warms up and does not count
    (void)Measure(socket, payload, count);
    std::vector<double> bus_times;
    std::vector<double> socket_times;
    for (int round = 0; round < kRounds; ++round) {
        bus_times.push_back(Measure(bus, payload, count));
        socket_times.push_back(Measure(socket, payload, count));
    }
    kxbench::Report({.name = size_name + ": time of a round trip",
                     .unit = "us",
                     .samples = bus_times,
                     .floor = "bare Unix socket",
                     .floor_samples = socket_times});
}

// Two connected sockets; the second stays open in a child process, as its standard input.
std::pair<int, int> ConnectedSockets() {
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
        kxbench::Fail("cannot make sockets");
    }
    return {sockets[0], sockets[1]};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--serve-bus") == 0) {
        ServeBus();
    }
    if (argc == 3 && std::strcmp(argv[1], "--serve-socket") == 0) {
        ServeSocket(std::atoi(argv[2]));  // NOLINT(cert-err34-c): written below
        return EXIT_SUCCESS;
    }
    (void)kxbench::BeginReport("bus", argc, argv);
    const auto [near_end, far_end] = ConnectedSockets();
    (void)fcntl(far_end, F_SETFD, 0);
    const kxbench::Child socket_server(kxbench::OwnProgram(),
                                       {"--serve-socket", std::to_string(far_end)});
    (void)close(far_end);
    const kxbench::Child bus_server(kxbench::OwnProgram(), {"--serve-bus"});

    SocketClient socket(near_end);
    BusClient bus;
    Compare(bus, socket, "1 kB", 1024, 4000);
    Compare(bus, socket, "1 MB", std::size_t{1} << 20U, 100);
    return EXIT_SUCCESS;
}
