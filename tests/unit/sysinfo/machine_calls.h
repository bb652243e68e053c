// The C library's calls that the system collector makes, with a hook in front of each: the linker
// wraps them, so those of libraries stay as they are. A hook that is not set lets the call through.
#ifndef KXEPINFO_TESTS_UNIT_SYSINFO_MACHINE_CALLS_H
#define KXEPINFO_TESTS_UNIT_SYSINFO_MACHINE_CALLS_H

#include <sys/stat.h>
#include <sys/utsname.h>

#include <functional>
#include <optional>
#include <string>

struct MachineCalls {
    std::function<int(utsname* names)> uname;
    std::function<long(int name)> sysconf;
    std::function<int(const char* path, struct stat* status)> stat;
    std::function<int(int ends[2], int flags)> pipe2;
    std::function<ssize_t(int file, void* buffer, std::size_t size)> read;
    std::function<pid_t(pid_t process, int* status, int options)> waitpid;
    // The shell command to be run in the place of `command`; with nothing it cannot be started.
    std::function<std::optional<std::string>(const std::string& command)> shell;
};

MachineCalls& Machine();

// A shell command that prints the text, of any bytes, which lies in a file of the installation.
std::string CommandThatPrints(const std::string& text);

// A file of this process while it lies over one of the machine, which must be a regular file; seen
// by this process and its children alone. Needs the right to mount; without it IsMounted is false
// and the test is to be skipped.
class MountedFile {
  public:
    MountedFile(const std::string& file, const std::string& place);
    ~MountedFile();
    MountedFile(const MountedFile&) = delete;
    MountedFile& operator=(const MountedFile&) = delete;

    bool IsMounted() const { return mounted_; }

  private:
    std::string place_;
    bool mounted_ = false;
};

#endif  // KXEPINFO_TESTS_UNIT_SYSINFO_MACHINE_CALLS_H
