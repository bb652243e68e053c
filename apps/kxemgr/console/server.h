// Listens, and gives each connection a thread.
#ifndef KX_APPS_KXEMGR_CONSOLE_SERVER_H
#define KX_APPS_KXEMGR_CONSOLE_SERVER_H

#include <atomic>
#include <cstddef>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <thread>

#include "common/descriptor.h"
#include "kxemgr/console/address.h"

namespace kxemgr::console {

// Listens at the address, whose port becomes the one taken. One without a number, after `fault` was
// told why in words, when that cannot be done.
kxapp::Descriptor Listen(ListenAddress& address, std::string& fault);

class Server {
  public:
    // Serves a connection to its end. Is to end soon after the socket was shut down. Must not
    // throw.
    using Serve = std::function<void(int socket)>;

    // More at a time are closed as soon as they come: as many readers of events as there may be,
    // and what people do besides.
    static constexpr std::size_t kMostConnections = 64;

    // Starts the thread that accepts; signals stay with the caller's. Throws std::system_error.
    Server(kxapp::Descriptor listening, Serve serve);
    // Shuts every connection down, and waits for all threads.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

  private:
    struct Connection {
        kxapp::Descriptor socket;
        std::atomic<bool> ended{false};
        std::thread thread;
    };
    void accept_all();
    void accept_one();
    void begin(kxapp::Descriptor socket);
    void forget_ended();
    void wake() const;

    kxapp::Descriptor m_listening;
    kxapp::Descriptor m_woken;  // an eventfd
    Serve m_serve;
    std::atomic<bool> m_stopping{false};
    std::list<Connection> m_connections;  // of the accepting thread
    std::thread m_accepting;
};

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_SERVER_H
