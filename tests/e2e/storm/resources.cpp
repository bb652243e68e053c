#include "resources.h"

#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "open_files.h"

namespace fs = std::filesystem;

namespace storm {
std::size_t Threads(std::size_t expected) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    std::size_t count = kxtest::EntryCount("/proc/self/task");
    while (count != expected && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        count = kxtest::EntryCount("/proc/self/task");
    }
    return count;
}

std::size_t ResidentKiB() {
    malloc_trim(0);
    std::size_t whole = 0;
    std::size_t resident = 0;
    std::ifstream("/proc/self/statm") >> whole >> resident;
    return resident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

std::set<std::string> MappedFrom(const std::string& directory) {
    std::set<std::string> names;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        const auto at = line.find(directory + "/");
        if (at != std::string::npos) {
            names.insert(line.substr(at + directory.size() + 1));
        }
    }
    return names;
}

}  // namespace storm
