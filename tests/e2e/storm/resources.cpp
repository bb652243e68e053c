#include "resources.h"

#include <malloc.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

namespace fs = std::filesystem;

namespace storm {
namespace {

std::size_t Entries(const char* directory) {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

}  // namespace

std::size_t OpenDescriptors() {
    return Entries("/proc/self/fd");
}

std::size_t Threads(std::size_t expected) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    std::size_t count = Entries("/proc/self/task");
    while (count != expected && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        count = Entries("/proc/self/task");
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
