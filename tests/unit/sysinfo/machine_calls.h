// The C library's calls that the system collector makes, with a hook in front of each: the linker
// wraps them, so those of libraries stay as they are. A hook that is not set lets the call through.
#ifndef KXEPINFO_TESTS_UNIT_SYSINFO_MACHINE_CALLS_H
#define KXEPINFO_TESTS_UNIT_SYSINFO_MACHINE_CALLS_H

#include <sys/stat.h>
#include <sys/utsname.h>

#include <cstdio>
#include <functional>
#include <string>

struct MachineCalls {
    std::function<int(utsname* names)> uname;
    std::function<long(int name)> sysconf;
    std::function<int(const char* path, struct stat* status)> stat;
    std::function<std::FILE*(const char* command, const char* mode)> popen;
    int open_commands = 0;  // opened and not yet closed, hooked or not
};

MachineCalls& Machine();

// The C library's own popen, for hooks that only want to look on.
std::FILE* RealPopen(const char* command, const char* mode);

// What a command's output is read from, for hooks of popen. It is closed as a file is.
std::FILE* OutputOf(const std::string& text);
// The same, and then reading fails.
std::FILE* OutputThatBreaksAfter(const std::string& text);

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
