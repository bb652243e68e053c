// What the agent's machine is, as one record: system facts, network adapters and versions, which
// travel to the manager together. Runs on the worker's thread; keeps nothing between calls.
#ifndef KXEPINFO_COLLECTORS_AGENTINFO_H
#define KXEPINFO_COLLECTORS_AGENTINFO_H

#include "common/records.h"

// Collects all three anew and replaces them in `out`; is_ip_changed becomes false, the reserved
// strings and change_state stay. A fact that cannot be found today is told as missing rather than
// as it was yesterday: what was in `out` never shines through.
//
// Returns what GetSysInfo did, 0 when nothing failed. Failures of the other two are logged alone.
int GetAgentInfo(_stAgentInfo& out);

// True when `current` must be uploaded again. Both records' address lists may be sorted by the
// comparison.
//
// Adapters come first: when they differ, their new IPv4 addresses are recorded and reported to the
// tracing SDK, whatever else has changed. Then the address that links to the manager: unless it is
// the one over which the manager last answered, current.is_ip_changed becomes true, and versions
// and system facts are not looked at (their log lines do not appear in that cycle). Otherwise
// current.is_ip_changed becomes false and versions follow; system facts count only when nothing
// before them has changed.
bool IsAgentInfoChanged(_stAgentInfo& previous, _stAgentInfo& current);

#endif  // KXEPINFO_COLLECTORS_AGENTINFO_H
