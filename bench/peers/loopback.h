// Sockets on the loop-back interface. Each function ends the program when it fails.
#ifndef KXEPINFO_BENCH_PEERS_LOOPBACK_H
#define KXEPINFO_BENCH_PEERS_LOOPBACK_H

#include <string>

// A TCP port of 127.0.0.1 that nobody uses now.
int FreePort();

// Connects to that port, waiting at most 20 s for somebody who listens, sends the request and
// returns all that comes until the other side ends the connection.
std::string Exchange(int port, const std::string& request);

// A UDP port of 127.0.0.1 of this program's own.
class Receiver {
  public:
    Receiver();
    Receiver(const Receiver&) = delete;
    Receiver& operator=(const Receiver&) = delete;
    ~Receiver();

    int port() const { return port_; }

    // Takes all that has come and returns how many bytes that are.
    std::size_t Take();

  private:
    int socket_;
    int port_ = 0;
};

#endif  // KXEPINFO_BENCH_PEERS_LOOPBACK_H
