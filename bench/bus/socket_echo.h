// The least that an echo between two processes costs: a Unix stream socket, a length in front of
// the data, and blocking calls.
#ifndef KXEPINFO_BENCH_BUS_SOCKET_ECHO_H
#define KXEPINFO_BENCH_BUS_SOCKET_ECHO_H

#include <string>
#include <vector>

// Serves the one client that has connected to `descriptor`, until it goes away.
void ServeSocket(int descriptor);

class SocketClient {
  public:
    // Takes the descriptor over.
    explicit SocketClient(int descriptor) : socket_(descriptor) {}
    SocketClient(const SocketClient&) = delete;
    SocketClient& operator=(const SocketClient&) = delete;
    ~SocketClient();

    // As BusClient.
    void RoundTrips(const std::string& payload, int count);

  private:
    int socket_;
    std::vector<char> received_;
};

#endif  // KXEPINFO_BENCH_BUS_SOCKET_ECHO_H
