// Preloaded into a host, tells what each collection cycle costs: after each call of the module's
// timer a line with three numbers, in microseconds. How long the call took without the second in
// which processor load is sampled; the processor time that the process has used since the line
// before; and that of the processes that it started and has waited for. Lines go to the descriptor
// whose number KX_CYCLE_CLOCK holds.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "cl_ev.h"

namespace {

cl_timerplus_cb module_callback;
int output = -1;
double slept;
double last_own;
double last_children;

double Microseconds(clockid_t clock) {
    timespec now{};
    (void)clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double OfChildren() {
    rusage used{};
    (void)getrusage(RUSAGE_CHILDREN, &used);
    return static_cast<double>(used.ru_utime.tv_sec + used.ru_stime.tv_sec) * 1e6 +
           static_cast<double>(used.ru_utime.tv_usec + used.ru_stime.tv_usec);
}

void Measure(cl_timerplus* timer) {
    const double begin = Microseconds(CLOCK_MONOTONIC);
    slept = 0;
    module_callback(timer);
    const double wall = Microseconds(CLOCK_MONOTONIC) - begin - slept;
    const double own = Microseconds(CLOCK_PROCESS_CPUTIME_ID);
    const double children = OfChildren();
    (void)dprintf(output, "%.3f %.3f %.3f\n", wall, own - last_own, children - last_children);
    last_own = own;
    last_children = children;
}

// The host's children get neither the descriptor nor this library.
__attribute__((constructor)) void Prepare() {
    if (const char* const number = std::getenv("KX_CYCLE_CLOCK")) {
        output = static_cast<int>(std::strtol(number, nullptr, 10));
        (void)fcntl(output, F_SETFD, FD_CLOEXEC);
    }
    (void)unsetenv("LD_PRELOAD");
}

}  // namespace

extern "C" __attribute__((visibility("default"))) unsigned sleep(unsigned seconds) {
    static const auto real = reinterpret_cast<decltype(&sleep)>(dlsym(RTLD_NEXT, "sleep"));
    const double begin = Microseconds(CLOCK_MONOTONIC);
    const unsigned left = real(seconds);
    slept += Microseconds(CLOCK_MONOTONIC) - begin;
    return left;
}

extern "C" __attribute__((visibility("default"))) cl_timerplus* cl_timerplus_start(
    int flags, int period_ms, cl_timerplus_cb callback, void* user) {
    // The library comes with the module, behind this one in no list, so it is asked itself.
    static void* const library = dlopen("libcl_ev.so", RTLD_NOW | RTLD_NOLOAD);
    static const auto real =
        reinterpret_cast<decltype(&cl_timerplus_start)>(dlsym(library, "cl_timerplus_start"));
    module_callback = callback;
    return real(flags, period_ms, Measure, user);
}
