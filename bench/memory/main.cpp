// What the module costs in memory: the host of an installation with its module, and the same
// program with a module that does nothing, one after the other. Read when the first collection
// cycle is over and the figures stand still.
//
//   bench_memory HOST EMPTY_MODULE    the host's file in its installation, and the other module's
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "child.h"
#include "notification.h"
#include "report.h"

namespace {

constexpr int kRounds = 5;
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
    if (argc != 3) {
        kxbench::Fail("usage: bench_memory HOST EMPTY_MODULE");
    }
    std::vector<double> proportional[2];
    std::vector<double> own[2];
    for (int round = 0; round < kRounds; ++round) {
        const Memory with = Measure(argv[1], {});
        const Memory without = Measure(argv[1], {"--module", argv[2]});
        proportional[0].push_back(with.proportional);
        proportional[1].push_back(without.proportional);
        own[0].push_back(with.own);
        own[1].push_back(without.own);
    }
    kxbench::Report("host with the module: proportional memory (PSS)",
                    kxbench::Median(proportional[0]), "kB", "host without it",
                    kxbench::Median(proportional[1]));
    kxbench::Report("host with the module: private memory", kxbench::Median(own[0]), "kB",
                    "host without it", kxbench::Median(own[1]));
    return EXIT_SUCCESS;
}
