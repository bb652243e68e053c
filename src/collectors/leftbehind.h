// Child processes that outlive being killed.
//
// The kernel holds a process that waits for a broken disk or file server, even against SIGKILL, and
// nobody can wait for it that long. Once it is let go it ends, and would be a zombie for as long as
// the host lives.
//
// Runs on the worker's thread.
#ifndef KXEPINFO_COLLECTORS_LEFTBEHIND_H
#define KXEPINFO_COLLECTORS_LEFTBEHIND_H

#include <sys/types.h>

#include <cstddef>

// More at a time are not remembered.
inline constexpr std::size_t kMostLeftBehind = 16;

// Remembers a child that has not been waited for. It is held by a descriptor, not by its number: in
// a host that waits for any child the number may become that of a child of the host's. Without a
// descriptor to be had, or before Linux 5.4, it is not remembered.
void LeaveBehind(pid_t child);

// Takes the status of those that have ended meanwhile. Waits for none.
void ReapLeftBehind();

// The same, and forgets the others: nothing is open then.
void ForgetLeftBehind();

#endif  // KXEPINFO_COLLECTORS_LEFTBEHIND_H
