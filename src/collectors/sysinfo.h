// What the machine is: kernel, distribution, word size, processors, virtualisation, container. Runs
// on the worker's thread, keeps nothing between calls.
#ifndef KXEPINFO_COLLECTORS_SYSINFO_H
#define KXEPINFO_COLLECTORS_SYSINFO_H

#include <cstdint>

#include "common/records.h"

// Fills the record; what could not be found has its fallback and is told in the log. Waits for two
// child processes, the distribution script and getconf, one after the other and without a time
// limit.
//
//   host_node, sys_release,   uname(2); "unkown", "linux", "unknown" and "unknown architecture"
//   sys_version, sys_machine  when it fails
//   sys_distro                what @/resmon_export.sh prints; empty when that fails
//   is_virtual                IsInVirtualEnv (collectors/hypervisor.h)
//   host_type                 1
//   host_plat                 4 when getconf says 64 bits or cannot be run at all, else 3
//   cpu_core                  sysconf(_SC_NPROCESSORS_CONF), -1 when it fails
//   uVmid                     GetVmid (collectors/vmid.h)
//   containerId               read_container_id for this process, in the container-platform
//                             edition alone: in any other it keeps its value
//   recal_timestamp           GetRecalculateTimestamp
//
// Returns 0, uname's errno, or -1 when one of the two commands failed, whatever uname did.
int GetSysInfo(_stSysInfo& info);

// True when the records differ in anything but recal_timestamp and the spare fields; the log then
// tells the current one.
bool IsSysChanged(const _stSysInfo& previous, const _stSysInfo& current);

// When the order to draw a new agent id was given: the status-change time of
// @/../config/recalculate_agentid in seconds since the epoch, 0 when it is not there.
uint64_t GetRecalculateTimestamp();

#endif  // KXEPINFO_COLLECTORS_SYSINFO_H
