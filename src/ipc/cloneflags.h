// The two files by which the rest of the agent learns that the manager has seen this agent's
// identity on another machine.
#ifndef KXEPINFO_IPC_CLONEFLAGS_H
#define KXEPINFO_IPC_CLONEFLAGS_H

#include <cstdint>

// Leaves "@/../config/clone_flag", which says "1", and then "@/../config/recalculate_agentid",
// which is empty and upon which the agent draws a new identity at its next start. When the latter
// is there, nothing is touched; it is made only when the former is there. `duplicate` is the
// manager's number and is only logged, as is every failure.
void MarkAsClone(uint32_t duplicate);

#endif  // KXEPINFO_IPC_CLONEFLAGS_H
