#include "cycle_meter.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>

#include "count_allocations.h"

namespace kxbench {
namespace {

double Microseconds(clockid_t clock) {
    timespec now{};
    (void)clock_gettime(clock, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double Microseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
}

double Faults(const rusage& used) {
    return static_cast<double>(used.ru_minflt + used.ru_majflt);
}

CycleCost SinceBeginning() {
    // Of the library that counts, when it is loaded.
    static const auto allocated =
        reinterpret_cast<decltype(&kx_allocated)>(dlsym(RTLD_DEFAULT, "kx_allocated"));
    rusage own{};
    rusage children{};
    (void)getrusage(RUSAGE_SELF, &own);
    (void)getrusage(RUSAGE_CHILDREN, &children);
    CycleCost cost;
    if (allocated != nullptr) {
        long count = 0;
        long bytes = 0;
        allocated(&count, &bytes);
        cost.allocations = static_cast<double>(count);
        cost.bytes = static_cast<double>(bytes);
    }
    cost.own = Microseconds(CLOCK_PROCESS_CPUTIME_ID);
    cost.children = Microseconds(children.ru_utime) + Microseconds(children.ru_stime);
    cost.own_faults = Faults(own);
    cost.children_faults = Faults(children);
    return cost;
}

}  // namespace

double Now() {
    return Microseconds(CLOCK_MONOTONIC);
}

CycleMeter::CycleMeter() : begin_(Now()) {
    if (const char* const number = std::getenv("KX_CYCLE_CLOCK")) {
        output_ = static_cast<int>(std::strtol(number, nullptr, 10));
        (void)fcntl(output_, F_SETFD, FD_CLOEXEC);  // child processes do not get it
    }
}

void CycleMeter::Begin() {
    begin_ = Now();
    excluded_ = 0;
}

void CycleMeter::End() {
    const double wall = Now() - begin_ - excluded_;
    const CycleCost now = SinceBeginning();
    (void)dprintf(output_, "%.3f %.3f %.3f %.0f %.0f %.0f %.0f\n", wall, now.own - before_.own,
                  now.children - before_.children, now.own_faults - before_.own_faults,
                  now.children_faults - before_.children_faults,
                  now.allocations - before_.allocations, now.bytes - before_.bytes);
    before_ = now;
}

int HurriedPeriod() {
    static const char* const text = std::getenv("KX_CYCLE_PERIOD_MS");
    static const long period = text == nullptr ? 0 : std::strtol(text, nullptr, 10);
    return static_cast<int>(period);
}

long HurriedSample() {
    return HurriedPeriod() * 100'000L;
}

bool ParseCycleCost(const char* line, CycleCost& cost) {
    return std::sscanf(line, "%lf %lf %lf %lf %lf %lf %lf", &cost.wall, &cost.own, &cost.children,
                       &cost.own_faults, &cost.children_faults, &cost.allocations,
                       &cost.bytes) == 7;
}

}  // namespace kxbench
