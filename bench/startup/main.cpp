// How long an agent takes to begin and to end: from the start of the host's process until its first
// upload is handed to the bus, the second of sampling aside, beside the start of the program that
// does only what cannot be avoided; and from the call of kxepinfo_uninit to its return, in this
// program as a host.
//
//   bench_startup    from the bin directory of an installation
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "child.h"
#include "cycle_meter.h"
#include "cycle_report.h"
#include "kxepinfo.h"
#include "lines.h"
#include "report.h"
#include "turns.h"

namespace {

constexpr int kRounds = 11;
constexpr int kPeriodMs = 10;  // so that sampling takes a millisecond, of both
constexpr useconds_t kManagerStartUs = 300000;
constexpr useconds_t kIdleUs = 200000;  // by then the worker waits for its timer

// Microseconds from the start of the process to the end of its first cycle.
double FirstCycle(const std::string& program, const std::vector<std::string>& environment,
                  kxbench::Lines& lines) {
    const double begin = kxbench::Now();
    const kxbench::Child child(program, {}, environment);
    (void)kxbench::NextCost(lines);
    return kxbench::Now() - begin;
}

void MeasureStart(const std::string& installation) {
    const auto of_host = [&] {
        kxbench::Lines lines;
        return FirstCycle(installation + "/bin/kxehost",
                          kxbench::MeteredHost(installation, lines, kPeriodMs), lines);
    };
    const auto of_floor = [&] {
        kxbench::Lines lines;
        return FirstCycle(installation + "/bin/bench_floor",
                          kxbench::MeteredFloor(lines, kPeriodMs), lines);
    };
    const kxbench::Compared times = kxbench::SampleByTurns(kRounds, of_host, of_floor);
    kxbench::Report({.name = "start of the host to its first upload",
                     .unit = "us",
                     .samples = times.work,
                     .floor = kxbench::kCycleFloor,
                     .floor_samples = times.reference});
}

void MeasureStop() {
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
        if (kxepinfo_init() != 0) {
            kxbench::Fail("the module does not start");
        }
        (void)usleep(kIdleUs);
        const double begin = kxbench::Now();
        (void)kxepinfo_uninit();
        times.push_back(kxbench::Now() - begin);
    }
    kxbench::Report({.name = "kxepinfo_uninit to its return", .unit = "us", .samples = times});
}

}  // namespace

// In front of the C library's, for the module in this program: sampling takes no time.
extern "C" __attribute__((visibility("default"))) unsigned sleep(unsigned /*seconds*/) {
    return 0;
}

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("startup", argc, argv);
    const std::string installation = kxbench::OwnInstallation();
    const kxbench::Child manager(installation + "/bin/kxemgr", {}, {},
                                 open("/dev/null", O_WRONLY | O_CLOEXEC));
    (void)usleep(kManagerStartUs);
    MeasureStart(installation);
    MeasureStop();
    return EXIT_SUCCESS;
}
