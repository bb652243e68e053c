// Preloaded into a host, makes its hours pass in minutes: timers of the event loop and the pauses
// of the worker run twenty times faster, and the second in which processor load is sampled takes a
// hundredth of one.
//
// When KX_TIME_STEPS names a file, time stands still instead, and jumps to the module's next cycle
// each time that file is put there. The file is taken away for it.
#include <dlfcn.h>
#include <time.h>
#include <unistd.h>

#include <cstdlib>

#include "cl_ev.h"

namespace {

constexpr int kFaster = 20;
constexpr long kSample = 10'000'000;  // nanoseconds
constexpr int kLookEvery = 10;        // milliseconds

void Pause(long nanoseconds) {
    const timespec pause = {0, nanoseconds};
    nanosleep(&pause, nullptr);
}

cl_timerplus_cb next_cycle = nullptr;  // the module has one timer

void LookForStep(cl_timerplus* timer) {
    if (unlink(std::getenv("KX_TIME_STEPS")) == 0) {
        next_cycle(timer);
    }
}

}  // namespace

extern "C" __attribute__((visibility("default"))) unsigned sleep(unsigned /*seconds*/) {
    Pause(kSample);
    return 0;
}

extern "C" __attribute__((visibility("default"))) int usleep(useconds_t microseconds) {
    Pause(long{microseconds} * 1000 / kFaster);  // of less than a second
    return 0;
}

extern "C" __attribute__((visibility("default"))) cl_timerplus* cl_timerplus_start(
    int flags, int period_ms, cl_timerplus_cb cb, void* user) {
    // The libraries of a module that was loaded later stand behind the preloaded ones in no list,
    // so the next one is asked of the module's own library.
    static void* const library = dlopen("libcl_ev.so", RTLD_NOW | RTLD_NOLOAD);
    static const auto real =
        reinterpret_cast<decltype(&cl_timerplus_start)>(dlsym(library, "cl_timerplus_start"));
    if (std::getenv("KX_TIME_STEPS") == nullptr) {
        return real(flags, period_ms / kFaster, cb, user);
    }
    next_cycle = cb;
    return real(flags, kLookEvery, LookForStep, user);
}
