#include "machine_calls.h"

#include <sched.h>
#include <sys/mount.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <set>

#pragma GCC visibility push(default)
extern "C" {

int __real_uname(utsname* names);
int __wrap_uname(utsname* names);
long __real_sysconf(int name);
long __wrap_sysconf(int name);
int __real_stat(const char* path, struct stat* status);
int __wrap_stat(const char* path, struct stat* status);
std::FILE* __real_popen(const char* command, const char* mode);
std::FILE* __wrap_popen(const char* command, const char* mode);
int __real_pclose(std::FILE* stream);
int __wrap_pclose(std::FILE* stream);

}  // extern "C"
#pragma GCC visibility pop

MachineCalls& Machine() {
    static MachineCalls calls;
    return calls;
}

namespace {

// Streams that are no child process.
std::set<std::FILE*>& PlainStreams() {
    static std::set<std::FILE*> streams;
    return streams;
}

struct BreakingOutput {
    std::string rest;
};

ssize_t ReadBreakingOutput(void* cookie, char* buffer, std::size_t size) {
    std::string& rest = static_cast<BreakingOutput*>(cookie)->rest;
    if (rest.empty()) {
        errno = EIO;
        return -1;
    }
    const std::size_t count = std::min(size, rest.size());
    std::memcpy(buffer, rest.data(), count);
    rest.erase(0, count);
    return static_cast<ssize_t>(count);
}

int CloseBreakingOutput(void* cookie) {
    delete static_cast<BreakingOutput*>(cookie);
    return 0;
}

std::FILE* Plain(std::FILE* stream) {
    if (stream == nullptr) {
        std::perror("making the output of a command");
        std::abort();
    }
    PlainStreams().insert(stream);
    return stream;
}

}  // namespace

std::FILE* RealPopen(const char* command, const char* mode) {
    return __real_popen(command, mode);
}

std::FILE* OutputOf(const std::string& text) {
    std::FILE* const stream = Plain(std::tmpfile());
    if (std::fwrite(text.data(), 1, text.size(), stream) != text.size()) {
        std::perror("writing the output of a command");
        std::abort();
    }
    std::rewind(stream);
    return stream;
}

std::FILE* OutputThatBreaksAfter(const std::string& text) {
    cookie_io_functions_t functions{};
    functions.read = ReadBreakingOutput;
    functions.close = CloseBreakingOutput;
    return Plain(fopencookie(new BreakingOutput{text}, "r", functions));
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

std::FILE* __wrap_popen(const char* command, const char* mode) {
    std::FILE* const stream =
        Machine().popen ? Machine().popen(command, mode) : __real_popen(command, mode);
    Machine().open_commands += stream != nullptr ? 1 : 0;
    return stream;
}

int __wrap_pclose(std::FILE* stream) {
    Machine().open_commands -= 1;
    return PlainStreams().erase(stream) != 0 ? std::fclose(stream) : __real_pclose(stream);
}

}  // extern "C"
#pragma GCC visibility pop
