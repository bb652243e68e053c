// The newest entry of the login accounting file, /var/log/wtmp (wtmp(5)). Runs on the worker's
// thread, keeps nothing between calls.
#ifndef KXEPINFO_COLLECTORS_USERLOG_H
#define KXEPINFO_COLLECTORS_USERLOG_H

#include "common/records.h"

// Fills the record from the file's last entry, whatever the type of that entry is, when the file
// holds a login (a USER_PROCESS entry) anywhere: after a logout it tells an empty user, an empty
// host and the time of the logout. Returns 0; or -1 with three empty strings when there is no login
// or the file cannot be read.
//
// Name and host are the entry's fields in full width, 32 and 256 bytes, zero bytes included; a name
// of 32 characters has none. The time is told in the time zone that holds at the call.
int GetLogUsrInfo(_stUsrLogInfo& out);

// Whether the login must be reported again: its time or its name differs by a byte. The host is not
// compared, and a `current` without a login is never a change. Logs what changed.
bool IsUsrLogInfoChanged(const _stUsrLogInfo& previous, const _stUsrLogInfo& current);

#endif  // KXEPINFO_COLLECTORS_USERLOG_H
