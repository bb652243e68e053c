// Talking to the agent "agt_ei" on the local bus.
#ifndef KX_APPS_KXECTL_AGENT_H
#define KX_APPS_KXECTL_AGENT_H

#include <string>

#include "common/service.h"
#include "common/stop_signals.h"
#include "kxectl/outcome.h"

namespace kxectl {

// A conversation under a bus name of this process's own. Requests and messages reach the agent in
// the order in which they are sent.
class Agent {
  public:
    // `timeout_s` is how long each answer is waited for, in seconds.
    explicit Agent(int timeout_s);

    // False, after a complaint, when the bus cannot be joined.
    bool join();

    // Sends a request that the agent does not answer by design. False, after a complaint, when it
    // cannot even be handed to the bus.
    bool send_request(unsigned type, const std::string& data);

    // Sends a one-way message. 0, or the bus's error code.
    int send_message(unsigned type, const std::string& data);

    // Asks for the online state and waits for the answer. Since the agent takes things in their
    // order, an answer also says that it has had whatever was sent before.
    Outcome ask_online();

  private:
    int m_timeout_s;
    kxapp::StopSignals m_stop;
    kxapp::Address m_address;
    kxapp::Bus m_bus;
};

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_AGENT_H
