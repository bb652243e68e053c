// The whole input is the content of /proc/meminfo.
#include <cstdlib>

#include "collectors/agentres.h"
#include "fuzzed_proc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string content(reinterpret_cast<const char*>(data), size);
    FuzzedFiles() = {content};
    uint32_t used = 1;
    uint32_t total = 1;
    get_mem_used(used, total);
    if (content.find("MemTotal:") == std::string::npos && (used != 0 || total != 0)) {
        std::abort();
    }
    return 0;
}
