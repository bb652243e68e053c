#include <tuple>

#include "collectors/sysinfo.h"
#include "common/log.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

// What matters to the manager. Not recal_timestamp: that order changes the agent's id, not the
// machine.
auto Facts(const _stSysInfo& info) {
    return std::tie(info.is_virtual, info.host_type, info.sys_machine, info.host_node,
                    info.sys_distro, info.host_plat, info.cpu_core, info.sys_release,
                    info.sys_version, info.uVmid, info.containerId);
}

}  // namespace

bool IsSysChanged(const _stSysInfo& previous, const _stSysInfo& current) {
    if (Facts(previous) == Facts(current)) {
        return false;
    }
    EP_LOG(kLogInformation, "system information has changed\n");
    EP_LOG(kLogInformation, "system vmid is %llu", static_cast<unsigned long long>(current.uVmid));
    EP_LOG(kLogInformation, "computername: %s\n", current.host_node.c_str());
    EP_LOG(kLogInformation, "architecture: %s\n", current.sys_machine.c_str());
    EP_LOG(kLogInformation, "system distro: %s\n", current.sys_distro.c_str());
    EP_LOG(kLogInformation, "system release: %s\n", current.sys_release.c_str());
    EP_LOG(kLogInformation, "system version: %s\n", current.sys_version.c_str());
    EP_LOG(kLogInformation, "virtual machine: %d, isserver: %d, platform type: %d, cpu core: %d\n",
           current.is_virtual, current.host_type, current.host_plat, current.cpu_core);
    EP_LOG(kLogInformation, "system containerId: %s\n", current.containerId.c_str());
    return true;
}
