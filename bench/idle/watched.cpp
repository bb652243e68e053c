#include "watched.h"

#include <filesystem>
#include <fstream>

#include "report.h"

namespace fs = std::filesystem;

namespace {

double WaitsOfTask(const fs::path& task) {
    std::ifstream status(task / "status");
    for (std::string word; status >> word;) {
        double count = 0;
        if (word == "voluntary_ctxt_switches:" && status >> count) {
            return count;
        }
    }
    kxbench::Fail("cannot read the context switches in " + task.string());
}

}  // namespace

Watched::Watched(pthread_t thread, pid_t id)
    : clock_(), tasks_("/proc/self/task/" + std::to_string(id)), is_thread_(true) {
    if (pthread_getcpuclockid(thread, &clock_) != 0) {
        kxbench::Fail("a thread has no clock");
    }
}

Watched::Watched(pid_t process)
    : clock_(), tasks_("/proc/" + std::to_string(process) + "/task"), is_thread_(false) {
    if (clock_getcpuclockid(process, &clock_) != 0) {
        kxbench::Fail("a process has no clock");
    }
}

Use Watched::Read() const {
    timespec used{};
    if (clock_gettime(clock_, &used) != 0) {
        kxbench::Fail("cannot read a processor time");
    }
    double waits = 0;
    if (is_thread_) {
        waits = WaitsOfTask(tasks_);
    } else {
        for (const auto& task : fs::directory_iterator(tasks_)) {
            waits += WaitsOfTask(task.path());
        }
    }
    return {static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9, waits};
}
