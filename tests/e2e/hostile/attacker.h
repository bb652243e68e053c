// Connections to the bus that are made by hand, to send anything at all.
#ifndef KXEPINFO_TESTS_E2E_HOSTILE_ATTACKER_H
#define KXEPINFO_TESTS_E2E_HOSTILE_ATTACKER_H

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <thread>

#include "descriptor.h"
#include "e2e.h"
#include "nox_frame.h"

namespace kxtest {

std::string FrameBytes(noxipc::Kind kind, unsigned type, unsigned id, std::string_view payload);
std::string Greeting(std::string_view name);

// The first bytes of a frame whose payload is announced and does not come.
std::string HeaderBytes(noxipc::Kind kind, unsigned type, unsigned id, uint32_t length);

// One connection. Nothing in it waits for ever.
class Attacker {
  public:
    // To the program that has that name on the bus of the installation.
    Attacker(const AgentInstallation& installation, std::string_view server);

    bool IsConnected() const { return m_connected; }

    // Sends all of it, waiting for room as long as nobody wants it to stop. False when the other
    // end is gone.
    bool Send(std::string_view bytes, const std::stop_token& stop = {}) const;

    // Responses that have come so far.
    std::size_t ResponseCount();

    // Whether the other end has closed the connection. What it has sent before is read.
    bool IsClosed();

  private:
    void Receive();

    noxipc::Descriptor m_socket;
    bool m_connected = false;
    bool m_closed = false;
    noxipc::FrameDecoder m_decoder;
    std::size_t m_responses = 0;
};

// Greets, sends the same bytes over and over, and connects again when it is thrown out. From the
// start to the end of the object.
class Flood {
  public:
    enum class Answers { kRead, kLeftUnread };
    Flood(const AgentInstallation& installation, std::string server, std::string bytes,
          Answers answers);
    // Ends it; a failure of the test when nothing got through.
    ~Flood();
    Flood(const Flood&) = delete;
    Flood& operator=(const Flood&) = delete;

  private:
    std::atomic<unsigned long> m_sent{0};
    std::jthread m_thread;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_HOSTILE_ATTACKER_H
