// Whether this virtual machine's id is to be reported.
#ifndef KXEPINFO_COLLECTORS_VMID_H
#define KXEPINFO_COLLECTORS_VMID_H

#include <cstdint>

// nox_get_vmidid(), when the manager address of @/../config/server.ini begins with "127.0.0.1" and
// @/../config/machineid has at most 4 bytes or cannot be read: such an agent is managed on its own
// machine, and its id does not come from a network adapter. Otherwise 0.
uint64_t GetVmid();

#endif  // KXEPINFO_COLLECTORS_VMID_H
