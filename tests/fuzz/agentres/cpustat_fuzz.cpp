// The input is two samples of /proc/stat, parted by the first byte 0xFF; without one the second
// cannot be read.
#include <cstdlib>

#include "collectors/agentres.h"
#include "fuzzed_proc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t part = input.find('\xff');
    FuzzedFiles() = {input.substr(0, part)};
    if (part != std::string::npos) {
        FuzzedFiles().push_back(input.substr(part + 1));
    }
    const auto files = FuzzedFiles();
    uint32_t usage = 1;
    get_cpu_used(usage);

    // The same sample twice shows no time passing.
    FuzzedFiles() = {files.front(), files.front()};
    get_cpu_used(usage);
    if (usage != 0) {
        std::abort();
    }
    return 0;
}
