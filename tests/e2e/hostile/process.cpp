#include "process.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "open_files.h"

namespace fs = std::filesystem;

namespace kxtest {
namespace {

fs::path Place(pid_t process) {
    return fs::path("/proc") / std::to_string(process);
}

}  // namespace

std::ostream& operator<<(std::ostream& out, const Held& held) {
    return out << held.descriptors << " descriptors, " << held.threads << " threads, "
               << held.resident_kib << " KiB";
}

Held HeldBy(pid_t process) {
    Held held;
    held.descriptors = EntryCount(Place(process) / "fd");
    held.threads = EntryCount(Place(process) / "task");
    std::ifstream status(Place(process) / "status");
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            status >> held.resident_kib;
        } else if (word == "VmHWM:") {
            status >> held.peak_kib;
        }
    }
    return held;
}

void ForgetPeak(pid_t process) {
    std::ofstream(Place(process) / "clear_refs") << 5;
}

}  // namespace kxtest
