// Runs a shell command and keeps what it prints.
#ifndef KXEPINFO_COLLECTORS_COMMAND_H
#define KXEPINFO_COLLECTORS_COMMAND_H

#include <cstddef>

// Runs `command` with /bin/sh and waits for its end. `out` gets what it wrote to its standard
// output, less the last character, whatever that is: a line loses its newline. Standard error is
// the caller's own. Returns 0 also when nothing was written and whatever the exit status was, so a
// command that the shell cannot find succeeds with an empty text.
//
// Returns -1 with an empty text when the pipe or the shell cannot be made, when reading fails, and
// when the output has `size` bytes or more: what counts is the output before its last character is
// dropped. -1 too for a null argument or a size of 0; then nothing is written.
//
// The shell is started with the caller's signal mask and inherits no descriptor that is
// close-on-exec. It has been waited for when this returns; where the process ignores SIGCHLD the
// kernel has done that.
int RunCommand(const char* command, char* out, std::size_t size);

#endif  // KXEPINFO_COLLECTORS_COMMAND_H
