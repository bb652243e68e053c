// Versions of the agent and of its databases, and the manager that the agent is bound to. Runs on
// the worker's thread, keeps nothing between calls: the files of the installation are read afresh,
// so a change on disk is seen by the next call.
#ifndef KXEPINFO_COLLECTORS_EXTINFO_H
#define KXEPINFO_COLLECTORS_EXTINFO_H

#include <string>

#include "common/records.h"

// The address of the manager: key "addr" of section "config" in @/../config/server.ini. Returns 0;
// or -1, told in the log, with `out` as it was, when the file cannot be loaded or has no such key.
int GetServerIp(std::string& out);

// Fills the five versions from @/../config/agent_cfg.json; one that is not found there holds a
// default, which depends on where the agent is installed. The manager's address is refreshed only
// when the file is there and has its "version" object, and otherwise stays as it was; the reserved
// strings are never touched. Always returns 0: what failed is told in the log.
//
// The file is neither read nor waited for when it is no regular file or is over 4 MiB.
int GetExtInfo(_stExtInfo& out);

// Whether one of the five versions differs by a byte. The manager's address is not compared: a
// change of it alone is no change here. Logs the versions of `current` when they have changed.
bool IsExtChanged(const _stExtInfo& previous, const _stExtInfo& current);

#endif  // KXEPINFO_COLLECTORS_EXTINFO_H
