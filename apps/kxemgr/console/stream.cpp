#include "kxemgr/console/stream.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kxemgr::console {

Stream::Stream(int socket, const Limits& limits) : m_socket(socket), m_limits(limits) {}

bool Stream::await_request() {
    if (m_failed || (m_begin == m_end && !fill(Clock::now() + m_limits.idle))) {
        return false;
    }
    m_left = m_limits.request_bytes;
    m_deadline = Clock::now() + m_limits.request;
    return true;
}

ssize_t Stream::read(char* bytes, std::size_t size) {
    if (m_failed || m_left == 0 || (m_begin == m_end && !fill(m_deadline))) {
        m_failed = true;
        return -1;
    }
    const std::size_t count = std::min({size, m_left, m_end - m_begin});
    std::memcpy(bytes, m_buffer.data() + m_begin, count);
    m_begin += count;
    m_left -= count;
    return static_cast<ssize_t>(count);
}

ssize_t Stream::write(const char* bytes, std::size_t size) {
    const auto until = Clock::now() + m_limits.write;
    for (std::size_t sent = 0; sent < size;) {
        const ssize_t count =
            send(m_socket, bytes + sent, size - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        const int error = errno;
        if (count > 0) {
            sent += static_cast<std::size_t>(count);
        } else if ((error != EAGAIN && error != EINTR) || !wait_for(POLLOUT, until)) {
            return -1;
        }
    }
    return static_cast<ssize_t>(size);
}

bool Stream::is_readable() const {
    return m_begin < m_end || wait_for(POLLIN, m_deadline);
}

bool Stream::is_writable() const {
    return wait_for(POLLOUT, Clock::now() + m_limits.write);
}

// Of no use here, and asked for at each request.
void Stream::get_remote_ip_and_port(std::string& ip, int& port) const {
    ip.clear();
    port = 0;
}

void Stream::get_local_ip_and_port(std::string& ip, int& port) const {
    get_remote_ip_and_port(ip, port);
}

bool Stream::wait_for(short events, Clock::time_point until) const {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count();
        pollfd descriptor{m_socket, events, 0};
        const int ready = poll(&descriptor, 1, static_cast<int>(std::max<long>(left, 0)));
        if (ready >= 0 || errno != EINTR) {
            return ready > 0;
        }
    }
}

// Reads what has come into the empty buffer.
bool Stream::fill(Clock::time_point until) {
    for (;;) {
        const ssize_t count = recv(m_socket, m_buffer.data(), m_buffer.size(), MSG_DONTWAIT);
        const int error = errno;
        if (count > 0) {
            m_begin = 0;
            m_end = static_cast<std::size_t>(count);
            return true;
        }
        if (count == 0 || (error != EAGAIN && error != EINTR) || !wait_for(POLLIN, until)) {
            return false;
        }
    }
}

}  // namespace kxemgr::console
