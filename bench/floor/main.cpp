// The floor of a collection cycle: a process that does only what cannot be avoided, each thing once
// and as directly as can be, at the module's interval. It reads the facts, starts the two programs,
// builds and packs the message, and has it sent there and back by another process; it compares
// nothing, logs nothing and looks for no changes. It tells what each cycle costs as a measured host
// does (cycle_meter.h).
//
//   bench_floor    from the bin directory of an installation
#include <unistd.h>
#include <uv.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>

#include "cycle_meter.h"
#include "exchange.h"
#include "facts.h"

namespace {

constexpr int kPeriodMs = 40000;
constexpr timespec kSample = {.tv_sec = 1, .tv_nsec = 0};
constexpr char kFrameHeader[20] = {'3', '2', '0', '0'};

struct Floor {
    std::string root;
    kxbench::CycleMeter meter;
};

void Sample(kxbench::CycleMeter& meter) {
    const double begin = kxbench::Now();
    const timespec hurried = {.tv_sec = 0, .tv_nsec = kxbench::HurriedSample()};
    (void)nanosleep(hurried.tv_nsec > 0 ? &hurried : &kSample, nullptr);
    meter.Exclude(kxbench::Now() - begin);
}

void RunCycle(uv_timer_t* timer) {
    auto& floor = *static_cast<Floor*>(timer->data);
    floor.meter.Begin();
    bf_kxepinfo::epinfo upload;
    const LoadCounters load = ReadLoad();
    Sample(floor.meter);
    AddResources(load, ReadLoad(), upload);
    AddAdapters(upload);
    AddVersions(floor.root, upload);
    AddSystem(floor.root, upload);
    AddLogin(upload);
    std::string message(kFrameHeader, sizeof kFrameHeader);
    if (!upload.AppendToString(&message)) {
        std::exit(EXIT_FAILURE);
    }
    Send(message);
    floor.meter.End();
}

}  // namespace

int main() {
    Floor floor{.root = std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path(),
                .meter = {}};
    uv_loop_t loop;
    uv_timer_t timer;
    if (uv_loop_init(&loop) != 0 || uv_timer_init(&loop, &timer) != 0) {
        return EXIT_FAILURE;
    }
    StartExchange(loop);
    const int hurried = kxbench::HurriedPeriod();
    const auto period = static_cast<std::uint64_t>(hurried > 0 ? hurried : kPeriodMs);
    timer.data = &floor;
    // The first one at once, as the module's.
    if (uv_timer_start(&timer, RunCycle, 0, period) != 0) {
        return EXIT_FAILURE;
    }
    return uv_run(&loop, UV_RUN_DEFAULT);
}
