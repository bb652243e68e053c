#include "kxemgr/machine.h"

#include <string_view>

namespace kxemgr {

namespace {

bool IsHexadecimal(char character) {
    return (character >= '0' && character <= '9') || (character >= 'A' && character <= 'F') ||
           (character >= 'a' && character <= 'f');
}

bool IdentifiesAnAdapter(std::string_view mac) {
    constexpr std::string_view kNone = "00-00-00-00-00-00";
    if (mac.size() != kNone.size() || mac == kNone) {
        return false;
    }
    for (std::size_t i = 0; i < mac.size(); ++i) {
        if (i % 3 == 2 ? mac[i] != '-' : !IsHexadecimal(mac[i])) {
            return false;
        }
    }
    return true;
}

std::set<std::string> MacsOf(const bf_kxepinfo::epinfo_msg_nw& network) {
    std::set<std::string> macs;
    for (const auto& adapter : network.if_info()) {
        if (IdentifiesAnAdapter(adapter.if_mac())) {
            macs.insert(adapter.if_mac());
        }
        if (macs.size() > Machine::kMostMacs) {
            macs.erase(std::prev(macs.end()));
        }
    }
    return macs;
}

}  // namespace

std::optional<Machine> ReportedMachine(const bf_kxepinfo::epinfo& upload) {
    if ((upload.cmd() & bf_kxepinfo::AGT_MGR_SYS) == 0) {
        return std::nullopt;
    }
    const auto& base = upload.sys_info().base_info();
    return Machine{base.host_node().substr(0, Machine::kMostHostNameBytes),
                   MacsOf(upload.sys_info().nw_info()), base.uvmid()};
}

bool IsOtherMachine(const Machine& known, const Machine& reported) {
    const bool all_known = !known.host_name.empty() && !reported.host_name.empty() &&
                           !known.macs.empty() && !reported.macs.empty() && known.vm_id != 0 &&
                           reported.vm_id != 0;
    return all_known && known.host_name != reported.host_name && known.macs != reported.macs &&
           known.vm_id != reported.vm_id;
}

void Learn(Machine& known, const Machine& reported) {
    if (!reported.host_name.empty()) {
        known.host_name = reported.host_name;
    }
    if (!reported.macs.empty()) {
        known.macs = reported.macs;
    }
    if (reported.vm_id != 0) {
        known.vm_id = reported.vm_id;
    }
}

bool IsDuplicate(Machine& known, const bf_kxepinfo::epinfo& upload) {
    const auto reported = ReportedMachine(upload);
    if (!reported) {
        return false;
    }
    if (IsOtherMachine(known, *reported)) {
        return true;
    }
    Learn(known, *reported);
    return false;
}

std::string JoinMacs(const std::set<std::string>& macs) {
    std::string text;
    for (const std::string& mac : macs) {
        text += (text.empty() ? "" : ",") + mac;
    }
    return text;
}

std::set<std::string> SplitMacs(const std::string& text) {
    std::set<std::string> macs;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        macs.insert(text.substr(start, end - start));
        start = end + 1;
    }
    return macs;
}

}  // namespace kxemgr
