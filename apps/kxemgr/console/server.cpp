#include "kxemgr/console/server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <system_error>
#include <utility>

namespace kxemgr::console {

namespace {

constexpr int kBacklog = 64;
// So long nobody is accepted when there is no descriptor, no memory or no thread for it.
constexpr int kPauseMs = 200;

// Threads made while it lives have every signal blocked: signals are for the manager's thread.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t all;
        sigfillset(&all);
        (void)pthread_sigmask(SIG_SETMASK, &all, &m_before);
    }
    ~SignalsBlocked() { (void)pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t m_before{};
};

kxapp::Descriptor MakeEvent() {
    kxapp::Descriptor event(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (event.number() < 0) {
        throw std::system_error(errno, std::generic_category(), "cannot start the console");
    }
    return event;
}

}  // namespace

kxapp::Descriptor Listen(ListenAddress& address, std::string& fault) {
    const int family = address.socket_address.ss_family;
    kxapp::Descriptor listening(socket(family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int on = 1;
    auto* const generic = reinterpret_cast<sockaddr*>(&address.socket_address);
    // A port that was in use a moment ago may be taken; one that is in use may not.
    if (listening.number() < 0 ||
        setsockopt(listening.number(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(listening.number(), generic, address.length) != 0 ||
        listen(listening.number(), kBacklog) != 0 ||
        getsockname(listening.number(), generic, &address.length) != 0) {
        const int error = errno;
        fault = std::strerror(error);
        return kxapp::Descriptor();
    }
    return listening;
}

Server::Server(kxapp::Descriptor listening, Serve serve)
    : m_listening(std::move(listening)), m_woken(MakeEvent()), m_serve(std::move(serve)) {
    const SignalsBlocked blocked;
    m_accepting = std::thread([this] { accept_all(); });
}

Server::~Server() {
    m_stopping = true;
    wake();
    m_accepting.join();
}

void Server::accept_all() {
    while (!m_stopping) {
        std::array<pollfd, 2> descriptors{
            {{m_listening.number(), POLLIN, 0}, {m_woken.number(), POLLIN, 0}}};
        (void)poll(descriptors.data(), descriptors.size(), -1);
        eventfd_t ignored = 0;
        (void)eventfd_read(m_woken.number(), &ignored);
        forget_ended();
        if (!m_stopping && descriptors[0].revents != 0) {
            accept_one();
        }
    }
    for (Connection& connection : m_connections) {
        (void)shutdown(connection.socket.number(), SHUT_RDWR);
    }
    for (Connection& connection : m_connections) {
        connection.thread.join();
    }
}

void Server::accept_one() {
    kxapp::Descriptor socket(accept4(m_listening.number(), nullptr, nullptr, SOCK_CLOEXEC));
    const int error = errno;
    bool short_of_means = socket.number() < 0 && (error == EMFILE || error == ENFILE ||
                                                  error == ENOBUFS || error == ENOMEM);
    if (socket.number() >= 0 && m_connections.size() < kMostConnections) {
        try {
            begin(std::move(socket));
        } catch (const std::exception&) {
            short_of_means = true;
        }
    }
    if (short_of_means) {
        pollfd woken{m_woken.number(), POLLIN, 0};
        (void)poll(&woken, 1, kPauseMs);
    }
}

void Server::begin(kxapp::Descriptor socket) {
    const int on = 1;
    (void)setsockopt(socket.number(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    Connection& connection = m_connections.emplace_back();
    connection.socket = std::move(socket);
    try {
        connection.thread = std::thread([this, &connection] {
            m_serve(connection.socket.number());
            (void)shutdown(connection.socket.number(), SHUT_RDWR);
            connection.ended = true;
            wake();
        });
    } catch (...) {
        m_connections.pop_back();
        throw;
    }
}

void Server::forget_ended() {
    m_connections.remove_if([](Connection& connection) {
        if (!connection.ended) {
            return false;
        }
        connection.thread.join();
        return true;
    });
}

void Server::wake() const {
    (void)eventfd_write(m_woken.number(), 1);
}

}  // namespace kxemgr::console
