// What the module costs in memory: the host of an installation with its module, and the same
// program with a module that does nothing, one after the other. Read when the first collection
// cycle is over and the figures stand still.
//
//   bench_memory    from the bin directory of an installation
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "child.h"
#include "notification.h"
#include "report.h"

namespace {

constexpr int kRounds = 7;
constexpr int kLooksASecond = 10;
constexpr int kStillSeconds = 3;
constexpr int kLongestSeconds = 30;

struct Memory {
    double proportional = 0;  // shared pages divided by the number of those who share them
    double own = 0;           // pages of this process alone
    double written = 0;       // those of them that no file holds
};

// In kB (proc_pid_smaps_rollup(5)).
Memory Read(pid_t pid) {
    Memory memory;
    std::ifstream file("/proc/" + std::to_string(pid) + "/smaps_rollup");
    std::string name;
    std::getline(file, name);  // the range of addresses
    for (double size = 0; file >> name >> size; std::getline(file, name)) {
        if (name == "Pss:") {
            memory.proportional = size;
        } else if (name == "Private_Clean:" || name == "Private_Dirty:") {
            memory.own += size;
            memory.written += name == "Private_Dirty:" ? size : 0;
        }
    }
    if (memory.proportional == 0) {
        kxbench::Fail("cannot read the memory of process " + std::to_string(pid));
    }
    return memory;
}

Memory ReadWhenStill(pid_t pid) {
    Memory memory = Read(pid);
    int still = 0;
    for (int look = 0; look < kLongestSeconds * kLooksASecond; ++look) {
        (void)usleep(1000000 / kLooksASecond);
        const Memory now = Read(pid);
        // The other figures change whenever any process loads or leaves a library.
        still = now.written == memory.written ? still + 1 : 0;
        memory = now;
        if (still == kStillSeconds * kLooksASecond) {
            return memory;
        }
    }
    kxbench::Fail("the host's memory does not stand still");
}

Memory Measure(const std::string& host, const std::vector<std::string>& arguments) {
    const kxbench::Notification notification;
    const kxbench::Child child(host, arguments, {notification.Variable()});
    notification.WaitUntilReady();
    return ReadWhenStill(child.pid());
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("memory", argc, argv);
    const std::string programs = kxbench::OwnInstallation() + "/bin/";
    std::vector<double> proportional[2];
    std::vector<double> own[2];
    for (int round = 0; round < kRounds; ++round) {
        const Memory with = Measure(programs + "kxehost", {});
        const Memory without =
            Measure(programs + "kxehost", {"--module", programs + "libbench_empty_module.so"});
        proportional[0].push_back(with.proportional);
        proportional[1].push_back(without.proportional);
        own[0].push_back(with.own);
        own[1].push_back(without.own);
    }
    kxbench::Report({.name = "host with the module: proportional memory (PSS)",
                     .unit = "kB",
                     .samples = proportional[0],
                     .floor = "host without it",
                     .floor_samples = proportional[1]});
    kxbench::Report({.name = "host with the module: private memory",
                     .unit = "kB",
                     .samples = own[0],
                     .floor = "host without it",
                     .floor_samples = own[1]});
    return EXIT_SUCCESS;
}
