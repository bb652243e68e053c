// A busy peer of the agent: sends what the user interface, the status source and the configuration
// centre send, many times over.
//
//   kx_peer ask COUNT WINDOW        questions for the online state, at most WINDOW unanswered
//   kx_peer heartbeat COUNT STATUS  heartbeats, and behind them a question
//   kx_peer notify COUNT            change notifications, and behind them a question
//
// Prints how the questions were answered. The agent takes things in their order, so the answer to a
// question says that it has had what was sent before. Exit status 0 unless the bus refuses.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "cl_ev.h"
#include "common/keyvalue.h"
#include "common/service.h"
#include "kxectl/online.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kHeartbeat = 101;
constexpr unsigned kConfigurationChanged = 1002;
constexpr int kTimeoutSeconds = 120;  // a guard against hanging

class Peer {
  public:
    Peer()
        : m_agent(kxapp::AddressOf("agt_ei")),
          m_bus(kxapp::JoinBus("peer-" + std::to_string(getpid()))) {}

    bool Joined() const { return m_bus != nullptr; }

    // Returns when all are answered or have failed.
    void Ask(long count, long window) {
        for (long asked = 0; asked < count || m_open > 0;) {
            while (asked < count && m_open < window) {
                AskOnce();
                ++asked;
            }
            (void)cl_event_loop_once();
        }
    }

    bool Heartbeat(const std::string& status) {
        const std::string beat = kxapp::PackMessage("peer", {{"status", status}});
        return nox_ipc_make_request(
                   m_bus.get(), m_agent.get(), kHeartbeat, beat.data(),
                   static_cast<unsigned>(beat.size()),
                   [](int, unsigned, const char*, unsigned, void*) {}, nullptr,
                   kTimeoutSeconds) == 0;
    }

    bool Notify() {
        const std::string change = kxapp::PackMessage("peer", {{"global", "1"}});
        return nox_ipc_send_msg(m_bus.get(), m_agent.get(), kConfigurationChanged, change.data(),
                                static_cast<unsigned>(change.size())) == 0;
    }

    void Print() const {
        std::printf("%ld online, %ld offline, %ld failed\n", m_online, m_offline, m_failed);
        const std::chrono::duration<double, std::milli> longest = m_longest;
        std::fprintf(stderr, "longest wait %.1f ms\n", longest.count());
    }

  private:
    struct Question {
        Peer* peer;
        Clock::time_point asked;
    };

    void AskOnce() {
        ++m_open;
        auto* const question = new Question{this, Clock::now()};
        if (nox_ipc_make_request(m_bus.get(), m_agent.get(), kxectl::kOnlineType, nullptr, 0,
                                 OnAnswer, question, kTimeoutSeconds) != 0) {
            OnAnswer(-1, 0, nullptr, 0, question);
        }
    }

    static void OnAnswer(int status, unsigned type, const char* data, unsigned len, void* user) {
        const std::unique_ptr<Question> question(static_cast<Question*>(user));
        Peer& peer = *question->peer;
        peer.m_longest = std::max(peer.m_longest, Clock::now() - question->asked);
        --peer.m_open;
        std::string fault;
        const auto online =
            status == 0 ? kxectl::ReadOnlineState(type, {data, len}, fault) : std::optional<bool>();
        ++(!online ? peer.m_failed : *online ? peer.m_online : peer.m_offline);
    }

    kxapp::Address m_agent;
    kxapp::Bus m_bus;
    long m_open = 0;
    long m_online = 0;
    long m_offline = 0;
    long m_failed = 0;
    Clock::duration m_longest{0};
};

bool Send(Peer& peer, const char* what, long count, const char* argument) {
    if (std::strcmp(what, "ask") == 0) {
        peer.Ask(count, std::atol(argument));
        return true;
    }
    bool sent = true;
    for (long i = 0; i < count && sent; ++i) {
        sent = std::strcmp(what, "heartbeat") == 0 ? peer.Heartbeat(argument) : peer.Notify();
    }
    peer.Ask(1, 1);
    return sent;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        return EXIT_FAILURE;
    }
    Peer peer;
    if (!peer.Joined() || !Send(peer, argv[1], std::atol(argv[2]), argc > 3 ? argv[3] : "1")) {
        return EXIT_FAILURE;
    }
    peer.Print();
    return EXIT_SUCCESS;
}
