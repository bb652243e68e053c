// Round trips between two processes, one after the other: over the bus, and over a bare pair of
// connected sockets with the same event loop. Both send the same data, get it back and compare it.
// The two take turns within one run, so that whatever else the machine does meets both.
//
//   bench_bus
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
#include "pipe_echo.h"
#include "report.h"
#include "turns.h"
#include "upload_client.h"

namespace {

constexpr int kRounds = 11;
constexpr char kFloor[] = "bare pair of libuv";

// Microseconds a round trip.
template <class Client>
double Measure(Client& client, const std::string& payload, int count) {
    const auto started = std::chrono::steady_clock::now();
    client.RoundTrips(payload, count);
    const std::chrono::duration<double, std::micro> taken =
        std::chrono::steady_clock::now() - started;
    return taken.count() / count;
}

// Megabytes a second, of what takes that many microseconds.
std::vector<double> Rates(std::vector<double> times, double megabytes) {
    for (double& time : times) {
        time = megabytes * 1e6 / time;
    }
    return times;
}

void Compare(BusClient& bus, PipeClient& pair, const std::string& size_name, std::size_t size,
             int count) {
    const std::string payload(size, 'x');
    const kxbench::Compared times = kxbench::SampleByTurns(
        kRounds, [&] { return Measure(bus, payload, count); },
        [&] { return Measure(pair, payload, count); });
    kxbench::Report({.name = size_name + ": time of a round trip",
                     .unit = "us",
                     .samples = times.work,
                     .floor = kFloor,
                     .floor_samples = times.reference,
                     .target = 1.5});
    const double megabytes = 2.0 * static_cast<double>(size) / 1e6;  // there and back
    kxbench::Report({.name = size_name + ": throughput",
                     .unit = "MB/s",
                     .samples = Rates(times.work, megabytes),
                     .floor = kFloor,
                     .floor_samples = Rates(times.reference, megabytes)});
}

// What the sender alone needs for an upload of usual size; its frame header is 20 bytes of it.
void CompareSending(UploadClient& upload, PipeClient& pair) {
    constexpr int kSends = 2000;
    const std::string payload(300, 'x');
    const std::string framed(320, 'x');
    const kxbench::Compared times = kxbench::SampleByTurns(
        kRounds, [&] { return upload.SendTime(payload, kSends); },
        [&] { return pair.SendTime(framed, kSends); });
    kxbench::Report({.name = "framing and sending an upload of 300 bytes",
                     .unit = "us",
                     .samples = times.work,
                     .floor = kFloor,
                     .floor_samples = times.reference});
}

// Two connected sockets.
std::pair<int, int> ConnectedSockets() {
    int sockets[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0) {
        kxbench::Fail("cannot make sockets");
    }
    return {sockets[0], sockets[1]};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::strcmp(argv[1], "--serve-bus") == 0) {
        ServeBus(argv[2]);
    }
    if (argc == 3 && std::strcmp(argv[1], "--serve-pair") == 0) {
        ServePipe(std::atoi(argv[2]));  // NOLINT(cert-err34-c): written below
    }
    (void)kxbench::BeginReport("bus", argc, argv);
    const auto [near_end, far_end] = ConnectedSockets();
    (void)fcntl(far_end, F_SETFD, 0);
    const kxbench::Child pair_server(kxbench::OwnProgram(),
                                     {"--serve-pair", std::to_string(far_end)});
    (void)close(far_end);
    const kxbench::Child bus_server(kxbench::OwnProgram(), {"--serve-bus", kEchoServer});
    const kxbench::Child manager(kxbench::OwnProgram(), {"--serve-bus", "mgr_ei"});

    PipeClient pair(near_end);
    BusClient bus;
    UploadClient upload;
    CompareSending(upload, pair);
    Compare(bus, pair, "1 kB", 1024, 4000);
    Compare(bus, pair, "1 MB", std::size_t{1} << 20U, 100);
    Compare(bus, pair, "16 MB", std::size_t{16} << 20U, 6);
    return EXIT_SUCCESS;
}
