#include "collectors/agentinfo.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "collectors/extinfo.h"
#include "collectors/netinfo.h"
#include "collectors/sysinfo.h"
#include "common/log.h"
#include "common/state.h"
#include "trace/ipchange.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

void ReportNewIpv4Addresses(const std::vector<_stAdapterInfo>& adapters) {
    std::set<std::string> added;
    RecordIpv4Addresses(adapters, added);
    if (!added.empty()) {
        ReportIpChangeTrace(added);
    }
}

}  // namespace

int GetAgentInfo(_stAgentInfo& out) {
    out.is_ip_changed = false;
    std::vector<_stAdapterInfo> adapters;
    _stExtInfo ext_info;
    _stSysInfo sys_info;
    const int net_result = GetNetInfo(adapters);
    if (net_result != 0) {
        EP_LOG(kLogError, "Get network information failed with error: %d", net_result);
    }
    const int ext_result = GetExtInfo(ext_info);
    if (ext_result != 0) {
        EP_LOG(kLogError, "Get agent extend information failed with error: %d", ext_result);
    }
    const int sys_result = GetSysInfo(sys_info);
    if (sys_result != 0) {
        EP_LOG(kLogError, "Get system basic information failed with error: %d", sys_result);
    }
    out.ext_info = std::move(ext_info);
    out.adapters = std::move(adapters);
    out.sys_info = std::move(sys_info);
    return sys_result;
}

bool IsAgentInfoChanged(_stAgentInfo& previous, _stAgentInfo& current) {
    const bool net_changed = IsNetInfoChanged(previous.adapters, current.adapters);
    if (net_changed) {
        ReportNewIpv4Addresses(current.adapters);
    }
    current.is_ip_changed = g_strPreConnectIp != g_strCurConnectIp;
    if (current.is_ip_changed) {
        EP_LOG(kLogInformation, "Connect IP is Changed, preConnIP is %s, curConnIP is %s",
               g_strPreConnectIp.c_str(), g_strCurConnectIp.c_str());
        return true;
    }
    // Versions are compared even when the adapters have decided already: their lines in the log are
    // wanted.
    const bool ext_changed = IsExtChanged(previous.ext_info, current.ext_info);
    if (ext_changed || net_changed) {
        return true;
    }
    return IsSysChanged(previous.sys_info, current.sys_info);
}
