#include "process_tree.h"

#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "memory_use.h"
#include "report.h"

namespace fs = std::filesystem;

namespace {

struct Stat {
    pid_t parent = 0;
    double ended = 0;  // clock ticks
    int threads = 0;
};

// False when the process has ended. Fields: proc_pid_stat(5).
bool ReadStat(const fs::path& process, Stat& stat) {
    std::string text;
    std::getline(std::ifstream(process / "stat"), text);
    const std::size_t name_end = text.rfind(')');
    if (name_end == text.npos) {
        return false;
    }
    std::istringstream fields(text.substr(name_end + 1));
    std::string field;
    double user = 0;
    double system = 0;
    fields >> field >> stat.parent;
    for (int i = 5; i <= 15; ++i) {
        fields >> field;
    }
    fields >> user >> system >> field >> field >> stat.threads;
    stat.ended = user + system;
    return bool(fields);
}

std::map<pid_t, Stat> AllProcesses() {
    std::map<pid_t, Stat> all;
    for (const auto& entry : fs::directory_iterator("/proc")) {
        const std::string name = entry.path().filename();
        Stat stat;
        if (std::all_of(name.begin(), name.end(), [](char c) { return c >= '0' && c <= '9'; }) &&
            ReadStat(entry.path(), stat)) {
            all[std::stoi(name)] = stat;
        }
    }
    return all;
}

double ProcessorTime(pid_t process) {
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &used) != 0) {
        kxbench::Fail("a process has ended that should not");
    }
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

void Add(pid_t process, const std::map<pid_t, Stat>& all, TreeUse& use) {
    const Stat& stat = all.at(process);
    use.processor_time += ProcessorTime(process);
    use.ended += stat.ended * 1e6 / static_cast<double>(sysconf(_SC_CLK_TCK));
    use.memory += ReadMemoryUse(process).proportional;
    use.threads += stat.threads;
    ++use.processes;
    for (const auto& [other, its] : all) {
        if (its.parent == process) {
            Add(other, all, use);
        }
    }
}

}  // namespace

TreeUse ReadTree(pid_t root) {
    const std::map<pid_t, Stat> all = AllProcesses();
    if (!all.contains(root)) {
        kxbench::Fail("a program that should run has ended");
    }
    TreeUse use;
    Add(root, all, use);
    return use;
}
