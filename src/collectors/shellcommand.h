// A shell command while it runs.
#ifndef KXEPINFO_COLLECTORS_SHELLCOMMAND_H
#define KXEPINFO_COLLECTORS_SHELLCOMMAND_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>

// Starts `command` with /bin/sh, its standard output into a pipe. It has the environment, standard
// input and standard error of this process, no signal blocked, whatever the caller blocks, and no
// descriptor that is close-on-exec. It is a process group of its own, so that what it started can
// be ended with it, less what has left the group. One thread.
class ShellCommand {
  public:
    // `limit` is the time for all of it, from here to its end. Once a stop is requested, a second
    // of it is left at most.
    ShellCommand(const char* command, std::chrono::milliseconds limit);

    // Closes its output and waits for its end, until its time is up; then its process group
    // is killed. A process that outlives even that by a second, since the kernel holds it, is left
    // behind (leftbehind.h); the next command's begin takes its status.
    ~ShellCommand();

    ShellCommand(const ShellCommand&) = delete;
    ShellCommand& operator=(const ShellCommand&) = delete;

    // False when there was no pipe or no process to be had.
    bool IsStarted() const { return m_process > 0; }

    // Up to `size` bytes of its output. 0 when all who could write have closed it, -1 when it
    // cannot be read or its time is up.
    ssize_t Read(char* buffer, std::size_t size);

  private:
    using Clock = std::chrono::steady_clock;

    bool WaitForOutput();
    bool IsTimeUp();
    bool WaitForEnd();
    bool HasEnded() const;
    void Kill() const;

    Clock::time_point m_deadline;
    bool m_stopping = false;  // seen that a stop is requested
    int m_output = -1;
    pid_t m_process = 0;
};

#endif  // KXEPINFO_COLLECTORS_SHELLCOMMAND_H
