// Runs a shell command and keeps what it prints.
#ifndef KXEPINFO_COLLECTORS_COMMAND_H
#define KXEPINFO_COLLECTORS_COMMAND_H

#include <chrono>
#include <cstddef>

// What a cycle's commands do takes milliseconds; one that hangs holds up one cycle this long.
inline constexpr std::chrono::milliseconds kCommandLimit{60000};

// Runs `command` with /bin/sh and waits for its end. `out` gets what it wrote to its standard
// output, less the last character, whatever that is: a line loses its newline. Standard error is
// the caller's own. Returns 0 also when nothing was written and whatever the exit status was, so a
// command that the shell cannot find succeeds with an empty text.
//
// Returns -1 with an empty text when the pipe or the shell cannot be made, when reading fails, when
// its output has not ended after `limit`, and when the output has `size` bytes or more: what counts
// is the output before its last character is dropped. -1 too for a null argument or a size of 0;
// then nothing is written.
//
// A command that prints and prints, or that hangs, is ended with its process group
// (shellcommand.h), so this returns whatever the command does: within the limit, and about a second
// after a stop was requested. One that has closed its output before is a success all the same.
int RunCommand(const char* command, char* out, std::size_t size,
               std::chrono::milliseconds limit = kCommandLimit);

#endif  // KXEPINFO_COLLECTORS_COMMAND_H
