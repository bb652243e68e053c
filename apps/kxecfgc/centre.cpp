#include "kxecfgc/centre.h"

#include <utility>

#include "common/complain.h"
#include "common/text.h"
#include "kxecfgc/answer.h"

namespace kxecfgc {

namespace {

constexpr char kAgentName[] = "agt_ei";

}  // namespace

Centre::Centre(const Options& options, kxapp::FaultPlan faults)
    : m_options(options), m_faults(std::move(faults)) {}

bool Centre::load() {
    return read(m_addresses);
}

bool Centre::reload() {
    Addresses addresses;
    if (!read(addresses) || addresses == m_addresses) {
        return false;
    }
    m_addresses = std::move(addresses);
    tell("address file changed, addresses: " + std::to_string(m_addresses.size()));
    return true;
}

bool Centre::read(Addresses& addresses) const {
    std::string fault;
    auto found = ReadAddresses(m_options.addresses, fault);
    if (!found) {
        kxapp::Complain("address file %s: %s", m_options.addresses.c_str(), fault.c_str());
        return false;
    }
    addresses = std::move(*found);
    return true;
}

kxapp::Reply Centre::handle(const kxapp::Request& request) {
    const std::string from(request.from);
    if (const std::string wrong = FaultOfRequest(request.type, request.data); !wrong.empty()) {
        kxapp::Complain("request from %s %s is not understood", from.c_str(), wrong.c_str());
        return {kxapp::Delivery::kNever, 0, {}};
    }
    if (done()) {
        return {kxapp::Delivery::kNever, 0, {}};
    }
    ++m_received;
    const std::string_view fault = m_faults.take();
    tell("request from " + from + ", addresses: " + std::to_string(m_addresses.size()) +
         (fault.empty() ? "" : ", fault " + std::string(fault)));
    return MakeAnswer(fault, m_addresses);
}

void Centre::notify(nox_ipc_st* bus) const {
    const std::string notification = MakeNotification();
    const int failure =
        nox_ipc_send_msg(bus, kxapp::AddressOf(kAgentName).get(), kNotificationType,
                         notification.data(), static_cast<unsigned>(notification.size()));
    tell(failure == 0 ? "change notification sent"
                      : std::string("change notification not sent: ") + nox_ipc_strerror(failure));
}

void Centre::tell(const std::string& line) const {
    if (m_options.verbose) {
        (void)kxapp::WriteOut(kxapp::Printable(line) + "\n");
    }
}

}  // namespace kxecfgc
