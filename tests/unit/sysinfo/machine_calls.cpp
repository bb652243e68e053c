#include "machine_calls.h"

#include <sched.h>
#include <spawn.h>
#include <sys/mount.h>

#include <cerrno>

#include "installation.h"

#pragma GCC visibility push(default)
extern "C" {

int __real_uname(utsname* names);
int __wrap_uname(utsname* names);
long __real_sysconf(int name);
long __wrap_sysconf(int name);
int __real_stat(const char* path, struct stat* status);
int __wrap_stat(const char* path, struct stat* status);
int __real_pipe2(int ends[2], int flags);
int __wrap_pipe2(int ends[2], int flags);
ssize_t __real_read(int file, void* buffer, std::size_t size);
ssize_t __wrap_read(int file, void* buffer, std::size_t size);
pid_t __real_waitpid(pid_t process, int* status, int options);
pid_t __wrap_waitpid(pid_t process, int* status, int options);
int __real_posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const arguments[],
                       char* const environment[]);
int __wrap_posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const arguments[],
                       char* const environment[]);

}  // extern "C"
#pragma GCC visibility pop

MachineCalls& Machine() {
    static MachineCalls calls;
    return calls;
}

std::string CommandThatPrints(const std::string& text) {
    static int files = 0;
    return "cat '" + kxtest::WriteFile("printed/" + std::to_string(++files), text).string() + "'";
}

MountedFile::MountedFile(const std::string& file, const std::string& place) : place_(place) {
    mounted_ = unshare(CLONE_NEWNS) == 0 &&
               mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               mount(file.c_str(), place_.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

MountedFile::~MountedFile() {
    if (mounted_) {
        (void)umount2(place_.c_str(), MNT_DETACH);
    }
}

// Visible, since the linker counts the calls of the sanitizers' libraries among the wrapped ones.
#pragma GCC visibility push(default)
extern "C" {

int __wrap_uname(utsname* names) {
    return Machine().uname ? Machine().uname(names) : __real_uname(names);
}

long __wrap_sysconf(int name) {
    return Machine().sysconf ? Machine().sysconf(name) : __real_sysconf(name);
}

int __wrap_stat(const char* path, struct stat* status) {
    return Machine().stat ? Machine().stat(path, status) : __real_stat(path, status);
}

int __wrap_pipe2(int ends[2], int flags) {
    return Machine().pipe2 ? Machine().pipe2(ends, flags) : __real_pipe2(ends, flags);
}

ssize_t __wrap_read(int file, void* buffer, std::size_t size) {
    return Machine().read ? Machine().read(file, buffer, size) : __real_read(file, buffer, size);
}

pid_t __wrap_waitpid(pid_t process, int* status, int options) {
    return Machine().waitpid ? Machine().waitpid(process, status, options)
                             : __real_waitpid(process, status, options);
}

int __wrap_posix_spawn(pid_t* process, const char* path, const posix_spawn_file_actions_t* actions,
                       const posix_spawnattr_t* attributes, char* const arguments[],
                       char* const environment[]) {
    if (!Machine().shell) {
        return __real_posix_spawn(process, path, actions, attributes, arguments, environment);
    }
    std::optional<std::string> command = Machine().shell(arguments[2]);
    if (!command) {
        return EAGAIN;
    }
    char* const others[] = {arguments[0], arguments[1], command->data(), nullptr};
    return __real_posix_spawn(process, path, actions, attributes, others, environment);
}

}  // extern "C"
#pragma GCC visibility pop
