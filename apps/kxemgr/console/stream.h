// A connection of the console, with an end to everything: to a request's bytes, to the time that it
// may take to come, and to the time that its reader may take.
#ifndef KX_APPS_KXEMGR_CONSOLE_STREAM_H
#define KX_APPS_KXEMGR_CONSOLE_STREAM_H

#include <httplib.h>

#include <array>
#include <chrono>
#include <cstddef>

namespace kxemgr::console {

class Stream : public httplib::Stream {
  public:
    struct Limits {
        std::size_t request_bytes = std::size_t{16} * 1024;
        std::chrono::milliseconds idle{15'000};     // until a request begins
        std::chrono::milliseconds request{10'000};  // from a request's first byte to its last
        std::chrono::milliseconds write{10'000};    // for one piece of an answer
    };

    // Borrows the socket, which must live longer.
    Stream(int socket, const Limits& limits);

    // Waits for the first byte of a request. False when none comes in time, the other side is gone,
    // or the request before had no end: what is left of it must not be taken for another one.
    bool await_request();

    // Reads fail once the request has had its bytes or its time.
    ssize_t read(char* bytes, std::size_t size) override;
    // All of it, or -1.
    ssize_t write(const char* bytes, std::size_t size) override;

    bool is_readable() const override;
    bool is_writable() const override;
    void get_remote_ip_and_port(std::string& ip, int& port) const override;
    void get_local_ip_and_port(std::string& ip, int& port) const override;
    int socket() const override { return m_socket; }

  private:
    using Clock = std::chrono::steady_clock;
    bool wait_for(short events, Clock::time_point until) const;
    bool fill(Clock::time_point until);

    int m_socket;
    Limits m_limits;
    std::array<char, 4096> m_buffer{};
    std::size_t m_begin = 0;  // of what has come and was not read
    std::size_t m_end = 0;
    std::size_t m_left = 0;  // bytes that the request may still have
    bool m_failed = false;   // a read has
    Clock::time_point m_deadline;
};

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_STREAM_H
