#include "vital_signs.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "open_files.h"

namespace fs = std::filesystem;

namespace kxtest {
namespace {

void ReadMemory(const fs::path& process, VitalSigns& signs) {
    std::ifstream file(process / "smaps_rollup");
    std::string line;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::string name;
        std::size_t kib = 0;
        words >> name >> kib;
        if (name == "Rss:") {
            signs.resident = kib;
        } else if (name == "Pss:") {
            signs.proportional = kib;
        } else if (name == "Private_Dirty:") {
            signs.own = kib;
        }
    }
}

// The parent of a process; 0 when it has gone.
pid_t ParentOf(const fs::path& process) {
    std::ifstream file(process / "stat");
    std::string text;
    std::getline(file, text);
    // The name in parentheses may hold anything.
    const std::size_t name_end = text.rfind(')');
    std::istringstream rest(name_end == std::string::npos ? "" : text.substr(name_end + 1));
    char state = 0;
    pid_t parent = 0;
    rest >> state >> parent;
    return parent;
}

std::size_t ChildrenOf(pid_t process) {
    const fs::directory_iterator all("/proc");
    return static_cast<std::size_t>(
        std::count_if(begin(all), end(all), [process](const fs::directory_entry& entry) {
            const std::string name = entry.path().filename();
            return name.find_first_not_of("0123456789") == std::string::npos &&
                   ParentOf(entry.path()) == process;
        }));
}

}  // namespace

VitalSigns LookAtProcess(pid_t process) {
    const fs::path directory = fs::path("/proc") / std::to_string(process);
    VitalSigns signs;
    ReadMemory(directory, signs);
    signs.descriptors = EntryCount(directory / "fd");
    signs.threads = EntryCount(directory / "task");
    signs.children = ChildrenOf(process);
    return signs;
}

}  // namespace kxtest
