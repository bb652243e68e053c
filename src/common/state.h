// Module-wide state that more than one file knows: what one cycle leaves for the next and what the
// conversations on the bus leave for each other. It is touched by the worker alone, so nothing here
// is locked. It is built when the library is loaded, survives a stop and restart of the worker, and
// goes at unload.
//
// The link state, g_preOnlineState, Attempt_Times, g_strCurConnectIp and g_strPreConnectIp, is
// exported by the library and therefore declared in kxepinfo.h.
#ifndef KXEPINFO_COMMON_STATE_H
#define KXEPINFO_COMMON_STATE_H

#include <set>
#include <string>

#include "common/records.h"
#include "kxepinfo.h"

// Agent facts and login record of the last cycle that reached its send, whatever became of it.
extern _stAgentInfo s_lastAgentInfo;
extern _stUsrLogInfo s_lastUsrLogInfo;

// Cycles that have compared agent facts since they were last added to an upload.
extern int s_checkAgentTimes;

// How many heartbeats in a row reported the status 0; the heartbeat handler's alone.
extern uint32_t s_heartbeatMisses;

// The IPv4 addresses at the last look, and whether those of the process before were read from their
// file; both RecordIpv4Addresses' alone.
extern std::set<std::string> s_recordedIpv4;
extern bool s_ipv4RecordRead;

#endif  // KXEPINFO_COMMON_STATE_H
