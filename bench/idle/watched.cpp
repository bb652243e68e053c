#include "watched.h"

#include <filesystem>
#include <fstream>

#include "report.h"

namespace fs = std::filesystem;

namespace {

// A thread that waits gives the processor up of its own will.
double WaitsOfThread(const fs::path& thread) {
    std::ifstream status(thread / "status");
    for (std::string word; status >> word;) {
        double count = 0;
        if (word == "voluntary_ctxt_switches:" && status >> count) {
            return count;
        }
    }
    kxbench::Fail("cannot read the context switches in " + thread.string());
}

}  // namespace

Watched::Watched(pid_t process) : clock_(), tasks_("/proc/" + std::to_string(process) + "/task") {
    if (clock_getcpuclockid(process, &clock_) != 0) {
        kxbench::Fail("a process has no clock");
    }
}

Use Watched::Read() const {
    timespec used{};
    if (clock_gettime(clock_, &used) != 0) {
        kxbench::Fail("cannot read a processor time");
    }
    double wake_ups = 0;
    for (const auto& thread : fs::directory_iterator(tasks_)) {
        wake_ups += WaitsOfThread(thread.path());
    }
    return {static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9, wake_ups};
}
