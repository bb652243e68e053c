#include "phases.h"

#include <dlfcn.h>
#include <ifaddrs.h>
#include <pthread.h>
#include <spawn.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "cl_ev.h"

namespace storm {
namespace {

constexpr int kNever = 3'600'000;  // milliseconds

std::mutex mutex;  // guards what follows
std::condition_variable changed;
Phase awaited = Phase::kAtOnce;
bool hold = false;
bool reached = false;
bool stop_requested = false;
int samples = 0;

void Arrive(Phase phase) {
    std::unique_lock lock(mutex);
    if (phase != awaited || reached) {
        return;
    }
    reached = true;
    changed.notify_all();
    if (hold) {
        changed.wait(lock, [] { return stop_requested; });
    }
}

void Sampling() {
    int sample = 0;
    {
        const std::lock_guard lock(mutex);
        sample = ++samples;
    }
    Arrive(sample == 1 ? Phase::kSampling : Phase::kTimer);
}

template <class Function>
Function* NextOne(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// Looked up each time: a reference that is kept would keep the library.
template <class Function>
Function* OfEventLoop(const char* name) {
    void* const library = dlopen("libcl_ev.so", RTLD_NOW | RTLD_NOLOAD);
    auto* const found = reinterpret_cast<Function*>(dlsym(library, name));
    dlclose(library);
    return found;
}

}  // namespace

void AwaitPhase(Phase phase, bool hold_there) {
    const std::lock_guard lock(mutex);
    awaited = phase;
    hold = hold_there && phase != Phase::kArmed;
    reached = phase == Phase::kAtOnce;
    stop_requested = false;
    samples = 0;
}

bool WaitForPhase() {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, std::chrono::minutes(1), [] { return reached; });
}

}  // namespace storm

#define KX_IN_FRONT extern "C" __attribute__((visibility("default")))

// The second in which processor load is sampled, and the pause between two passes of the loop, take
// no time.
KX_IN_FRONT unsigned sleep(unsigned /*seconds*/) {
    storm::Sampling();
    return 0;
}

KX_IN_FRONT int usleep(useconds_t /*microseconds*/) {
    return 0;
}

KX_IN_FRONT int uname(utsname* name) noexcept {
    storm::Arrive(storm::Phase::kSystem);
    return storm::NextOne<int(utsname*)>("uname")(name);
}

KX_IN_FRONT int getifaddrs(ifaddrs** list) noexcept {
    storm::Arrive(storm::Phase::kAdapters);
    return storm::NextOne<int(ifaddrs**)>("getifaddrs")(list);
}

KX_IN_FRONT int posix_spawn(pid_t* process, const char* path,
                            const posix_spawn_file_actions_t* actions,
                            const posix_spawnattr_t* attributes, char* const arguments[],
                            char* const environment[]) noexcept {
    storm::Arrive(storm::Phase::kCommand);
    return storm::NextOne<decltype(posix_spawn)>("posix_spawn")(process, path, actions, attributes,
                                                                arguments, environment);
}

KX_IN_FRONT cl_timerplus* cl_timerplus_start(int flags, int /*period_ms*/, cl_timerplus_cb cb,
                                             void* user) {
    storm::Arrive(storm::Phase::kArmed);
    const bool cycles = storm::awaited == storm::Phase::kTimer;
    return storm::OfEventLoop<decltype(cl_timerplus_start)>("cl_timerplus_start")(
        flags, cycles ? 1 : storm::kNever, cb, user);
}

// The module calls it once the exit flag is set.
KX_IN_FRONT void cl_event_loop_wake(pthread_t thread) {
    {
        const std::lock_guard lock(storm::mutex);
        storm::stop_requested = true;
        storm::changed.notify_all();
    }
    storm::OfEventLoop<decltype(cl_event_loop_wake)>("cl_event_loop_wake")(thread);
}
