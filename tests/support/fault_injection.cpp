// Preloaded into a host, makes one call of a function of the C library fail: which one, and how, a
// test tells through the file that KX_FAULTS names (fault_control.h). Programs that the host starts
// are left alone.
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "cl_ev.h"
#include "fault_control.h"

#define KX_VISIBLE extern "C" __attribute__((visibility("default")))

namespace {

using kxtest::FaultControl;

std::atomic<FaultControl*> control{nullptr};

using Stack = std::array<void*, 16>;

// Where code comes from: the name of a file, and how far from its beginning.
struct Origin {
    std::string_view file;
    std::ptrdiff_t offset = 0;
};

Origin OriginOf(void* code) {
    Dl_info found{};
    if (code == nullptr || dladdr(code, &found) == 0) {
        return {};
    }
    const std::string_view path = found.dli_fname;
    return {path.substr(path.rfind('/') + 1),
            static_cast<char*>(code) - static_cast<char*>(found.dli_fbase)};
}

bool IsOfTests(std::string_view file) {
    return file.starts_with("libkx_");
}

// Calls that must not fail, because of who made them, perhaps through the C library: this library
// and others that are preloaded are not prepared for it, nor are sanitizers, and Jansson writes
// beyond the end of its memory when there is no more for a text that it reads.
bool IsLeftAlone(const Stack& stack) {
    const auto is_own = [](void* code) { return IsOfTests(OriginOf(code).file); };
    const auto is_c_library = [](void* code) {
        const std::string_view file = OriginOf(code).file;
        return file.starts_with("ld-linux") || file.starts_with("libc.so");
    };
    const auto* const called = std::find_if_not(stack.begin(), stack.end(), is_own);
    const auto* const caller = std::find_if_not(called, stack.end(), is_c_library);
    if (caller == stack.end()) {
        return false;
    }
    const std::string_view file = OriginOf(*caller).file;
    return IsOfTests(file) || file.starts_with("libjansson") || file.starts_with("libasan") ||
           file.starts_with("libtsan");
}

// Who called, innermost first.
void TellWhere(const Stack& stack, FaultControl& shared) {
    std::size_t used = 0;
    for (void* const code : stack) {
        const Origin origin = OriginOf(code);
        if (!origin.file.empty() && !IsOfTests(origin.file) && used < sizeof shared.where) {
            used += static_cast<std::size_t>(std::snprintf(
                shared.where + used, sizeof shared.where - used, " %.*s+0x%tx",
                static_cast<int>(origin.file.size()), origin.file.data(), origin.offset));
        }
    }
}

// The file of the test while calls of `function` are to be counted; otherwise null.
FaultControl* Counting(std::string_view function) {
    FaultControl* const shared = control.load(std::memory_order_acquire);
    const bool counting = shared != nullptr && shared->armed.load(std::memory_order_acquire) &&
                          function == shared->function;
    return counting ? shared : nullptr;
}

// Whether this call is to fail, which errno then tells.
__attribute__((noinline)) bool Fails(std::string_view function) {
    FaultControl* const shared = Counting(function);
    if (shared == nullptr) {
        return false;
    }
    const long call = ++shared->calls;
    if (call < shared->nth || (call > shared->nth && !shared->lasting)) {
        return false;
    }
    Stack stack{};
    (void)backtrace(stack.data(), static_cast<int>(stack.size()));
    if (IsLeftAlone(stack)) {
        return false;
    }
    if (call == shared->nth) {
        TellWhere(stack, *shared);
    }
    errno = shared->error;
    return true;
}

// Of files and of sockets, told apart by name. What a process tells itself through pipes and event
// descriptors does not fail, and libuv ends a process in which it does.
__attribute__((noinline)) bool TransferFails(std::string_view of_file, std::string_view of_socket,
                                             long descriptor) {
    struct stat status {};
    if ((Counting(of_file) == nullptr && Counting(of_socket) == nullptr) ||
        fstat(static_cast<int>(descriptor), &status) != 0) {
        return false;
    }
    return (S_ISREG(status.st_mode) && Fails(of_file)) ||
           (S_ISSOCK(status.st_mode) && Fails(of_socket));
}

// The calling conventions of Linux pass six whole numbers or pointers alike, whichever they are and
// however many the function takes, and return one alike.
using Function = long (*)(long, long, long, long, long, long);

// The function behind this library's own, looked up at the first call. `known` is no guarded static
// variable: guards are ThreadSanitizer's, which calls some of these functions before it is set up.
Function Next(std::atomic<Function>& known, const char* name) {
    Function next = known.load(std::memory_order_relaxed);
    if (next == nullptr) {
        next = reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
        known.store(next, std::memory_order_relaxed);
    }
    return next;
}

}  // namespace

// A function of the C library. KX_REPLACES tells the function under whose name it is counted, and
// what it returns when it fails.
#define KX_REPLACES(symbol, counted, failed)                                        \
    KX_VISIBLE long Faulty_##symbol(long a, long b, long c, long d, long e,         \
                                    long f) __asm__(#symbol);                       \
    long Faulty_##symbol(long a, long b, long c, long d, long e, long f) {          \
        static constinit std::atomic<Function> known{nullptr};                      \
        const Function next = Next(known, #symbol);                                 \
        return Fails(counted) ? static_cast<long>(failed) : next(a, b, c, d, e, f); \
    }

#define KX_REPLACES_TRANSFER(symbol, of_file, of_socket)                            \
    KX_VISIBLE long Faulty_##symbol(long a, long b, long c, long d, long e,         \
                                    long f) __asm__(#symbol);                       \
    long Faulty_##symbol(long a, long b, long c, long d, long e, long f) {          \
        static constinit std::atomic<Function> known{nullptr};                      \
        const Function next = Next(known, #symbol);                                 \
        return TransferFails(of_file, of_socket, a) ? -1L : next(a, b, c, d, e, f); \
    }

// Files.
KX_REPLACES(open, "open", -1)
KX_REPLACES(open64, "open", -1)
KX_REPLACES(__open64_2, "open", -1)
KX_REPLACES(openat, "openat", -1)
KX_REPLACES(fopen, "fopen", 0)
KX_REPLACES(fdopen, "fdopen", 0)
KX_REPLACES_TRANSFER(read, "read", "receive")
KX_REPLACES_TRANSFER(readv, "read", "receive")
KX_REPLACES_TRANSFER(pread, "read", "receive")
KX_REPLACES_TRANSFER(pread64, "read", "receive")
KX_REPLACES_TRANSFER(write, "write", "send")
KX_REPLACES_TRANSFER(writev, "write", "send")
KX_REPLACES(fread, "fread", 0)
KX_REPLACES(fgets, "fgets", 0)
KX_REPLACES(fwrite, "fwrite", 0)
KX_REPLACES(fflush, "fflush", -1)
KX_REPLACES(fseek, "fseek", -1)
KX_REPLACES(ftell, "ftell", -1)
KX_REPLACES(fsync, "fsync", -1)
KX_REPLACES(rename, "rename", -1)
KX_REPLACES(renameat, "renameat", -1)
KX_REPLACES(unlink, "unlink", -1)
KX_REPLACES(unlinkat, "unlinkat", -1)
KX_REPLACES(mkdir, "mkdir", -1)
KX_REPLACES(access, "access", -1)
KX_REPLACES(readlink, "readlink", -1)
KX_REPLACES(stat, "stat", -1)
KX_REPLACES(stat64, "stat", -1)
KX_REPLACES(fstat, "fstat", -1)
KX_REPLACES(fstat64, "fstat", -1)
KX_REPLACES(fstatat, "fstatat", -1)
KX_REPLACES(fchmod, "fchmod", -1)
KX_REPLACES(fchmodat, "fchmodat", -1)
KX_REPLACES(fchown, "fchown", -1)
KX_REPLACES(futimens, "futimens", -1)
KX_REPLACES(flock, "flock", -1)
KX_REPLACES(fcntl, "fcntl", -1)
KX_REPLACES(fcntl64, "fcntl", -1)

// Sockets and the event loop.
KX_REPLACES(socket, "socket", -1)
KX_REPLACES(bind, "bind", -1)
KX_REPLACES(listen, "listen", -1)
KX_REPLACES(connect, "connect", -1)
KX_REPLACES(accept4, "accept4", -1)
KX_REPLACES(getsockopt, "getsockopt", -1)
KX_REPLACES(setsockopt, "setsockopt", -1)
KX_REPLACES(poll, "poll", -1)
KX_REPLACES(ioctl, "ioctl", -1)
KX_REPLACES(epoll_create1, "epoll_create1", -1)
KX_REPLACES(epoll_ctl, "epoll_ctl", -1)
KX_REPLACES(epoll_wait, "epoll_wait", -1)
KX_REPLACES(epoll_pwait, "epoll_wait", -1)
KX_REPLACES(eventfd, "eventfd", -1)
KX_REPLACES(pipe2, "pipe2", -1)

// The machine, processes and threads.
KX_REPLACES(getifaddrs, "getifaddrs", -1)
KX_REPLACES(inet_ntop, "inet_ntop", 0)
KX_REPLACES(uname, "uname", -1)
KX_REPLACES(sysconf, "sysconf", -1)
KX_REPLACES(getrandom, "getrandom", -1)
KX_REPLACES(posix_spawn, "posix_spawn", errno)
KX_REPLACES(posix_spawn_file_actions_adddup2, "adddup2", errno)
KX_REPLACES(pthread_create, "pthread_create", errno)
KX_REPLACES(localtime_r, "localtime_r", 0)
KX_REPLACES(waitpid, "waitpid", -1)

// The stream is closed all the same.
KX_REPLACES(fclose, "fclose", (next(a, b, c, d, e, f), -1))

// dlerror has to tell a reason: the loader's, for what it cannot find. Who asks only for what is
// loaded already is a library like this one.
KX_REPLACES(dlopen, (b & RTLD_NOLOAD) != 0 ? "" : "dlopen",
            next(reinterpret_cast<long>("/nonexistent"), b, c, d, e, f))

#ifdef KX_SANITIZED
// What a module keeps on purpose counts as leaked once the module is gone.
KX_VISIBLE int dlclose(void* /*library*/) {
    return 0;
}
#else
// Memory, with C++'s, which is taken from here. These are also called before anything can be looked
// up; under a sanitizer they are the sanitizer's own.
KX_VISIBLE void* __libc_malloc(std::size_t size);
KX_VISIBLE void* __libc_calloc(std::size_t count, std::size_t size);
KX_VISIBLE void* __libc_realloc(void* memory, std::size_t size);

KX_VISIBLE void* malloc(std::size_t size) {
    return Fails("malloc") ? nullptr : __libc_malloc(size);
}

KX_VISIBLE void* calloc(std::size_t count, std::size_t size) {
    return Fails("malloc") ? nullptr : __libc_calloc(count, size);
}

KX_VISIBLE void* realloc(void* memory, std::size_t size) {
    return Fails("malloc") ? nullptr : __libc_realloc(memory, size);
}
#endif

namespace {

// The libraries of a module that was loaded later stand behind the preloaded ones in no list.
template <class Pointer>
Pointer OfEventLoop(const char* name) {
    static void* const library = dlopen("libcl_ev.so", RTLD_NOW | RTLD_NOLOAD);
    return reinterpret_cast<Pointer>(dlsym(library, name));
}

void* (*worker)(void*) = nullptr;  // the module has one at a time

void* RunWorker(void* argument) {
    void* const result = worker(argument);
    if (FaultControl* const shared = control) {
        ++shared->workers_ended;
    }
    return result;
}

__attribute__((constructor)) void MapControl() {
    const char* const file = std::getenv("KX_FAULTS");
    if (file == nullptr) {
        return;
    }
    const int descriptor = open(file, O_RDWR | O_CLOEXEC);
    unsetenv("KX_FAULTS");
    void* const shared =
        mmap(nullptr, sizeof(FaultControl), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    close(descriptor);
    if (shared == MAP_FAILED) {
        std::abort();
    }
    std::array<void*, 1> frame;
    (void)backtrace(frame.data(), 1);  // loads what it needs now, not when memory fails
    control = static_cast<FaultControl*>(shared);
}

}  // namespace

KX_VISIBLE int cl_ev_create_isolated_thread(pthread_t* thread, int flags, void* (*entry)(void*),
                                            void* argument) {
    static const auto real =
        OfEventLoop<decltype(&cl_ev_create_isolated_thread)>("cl_ev_create_isolated_thread");
    worker = entry;
    FaultControl* const shared = control;
    if (shared == nullptr) {
        return real(thread, flags, entry, argument);
    }
    shared->passes = 0;
    const int error = real(thread, flags, RunWorker, argument);
    shared->workers_made += error == 0 ? 1 : 0;
    return error;
}

KX_VISIBLE int cl_event_loop_once() {
    static const auto real = OfEventLoop<decltype(&cl_event_loop_once)>("cl_event_loop_once");
    const int alive = real();
    if (FaultControl* const shared = control) {
        ++shared->passes;
    }
    return alive;
}
