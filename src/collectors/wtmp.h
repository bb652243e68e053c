// Reads the login accounting file (wtmp(5)): records of the C library's layout, one behind the
// other, the newest at the end.
//
// The C library's own reader does not serve here: its position and its file belong to the whole
// process, which is the host's, it borrows SIGALRM, and it locks the file for every record. This
// reader keeps nothing between calls, takes no lock, and begins at the end.
#ifndef KXEPINFO_COLLECTORS_WTMP_H
#define KXEPINFO_COLLECTORS_WTMP_H

#include <utmp.h>

#include <optional>

// The last whole record of the file, whatever its type, when the file holds a USER_PROCESS record
// anywhere; bytes behind the last whole record do not count. Nothing when it holds none, cannot be
// read, as a directory, a pipe or a device, or becomes shorter while it is read.
//
// Reads backwards as far as the newest USER_PROCESS record, with memory that does not depend on the
// file's size, and moves the descriptor's position. Holes are not read: a file of a tebibyte that
// holds nothing takes no time. What is appended meanwhile is not seen.
std::optional<utmp> LastEntryWhenSomebodyLoggedIn(int descriptor);

#endif  // KXEPINFO_COLLECTORS_WTMP_H
