#include "kxectl/agent.h"

#include <unistd.h>

#include "cl_ev.h"
#include "common/complain.h"
#include "kxectl/online.h"

namespace kxectl {

namespace {

constexpr char kAgentName[] = "agt_ei";

// Of a request that is not answered only the delivery counts, and ask_online tells that.
void Ignore(int, unsigned, const char*, unsigned, void*) {}

}  // namespace

Agent::Agent(int timeout_s) : m_timeout_s(timeout_s), m_address(kxapp::AddressOf(kAgentName)) {}

bool Agent::join() {
    m_bus = kxapp::JoinBus("kxectl-" + std::to_string(getpid()));
    return m_bus != nullptr;
}

bool Agent::send_request(unsigned type, const std::string& data) {
    const int failure =
        nox_ipc_make_request(m_bus.get(), m_address.get(), type, data.data(),
                             static_cast<unsigned>(data.size()), Ignore, nullptr, m_timeout_s);
    if (failure != 0) {
        kxapp::Complain("cannot send: %s", nox_ipc_strerror(failure));
    }
    return failure == 0;
}

int Agent::send_message(unsigned type, const std::string& data) {
    return nox_ipc_send_msg(m_bus.get(), m_address.get(), type, data.data(),
                            static_cast<unsigned>(data.size()));
}

Outcome Agent::ask_online() {
    Outcome outcome;
    const int failure = nox_ipc_make_request(m_bus.get(), m_address.get(), kOnlineType, nullptr, 0,
                                             KeepOutcome, &outcome, m_timeout_s);
    if (failure != 0) {
        return {true, failure, 0, {}};
    }
    while (!outcome.arrived && !m_stop.arrived()) {
        (void)cl_event_loop_once();
    }
    if (!outcome.arrived) {
        m_bus.reset();  // the callback must not come any more: its outcome goes away
    }
    return outcome;
}

}  // namespace kxectl
