// The input is an answer of the configuration centre. Whatever is mirrored from it must be a list
// of addresses with its right count.
#include <cstdlib>

#include "fuzzed_agent.h"
#include "ipc/cfgrequest.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto bytes = Bytes(data, size);
    Agent() = {};
    IpcOnCfgcResponse(0, 1004, bytes.data(), static_cast<unsigned>(size),
                      reinterpret_cast<void*>(2));

    auto saved = Agent().saved;
    if (saved.empty()) {
        return 0;
    }
    const auto counts = saved.extract("counts");
    Require(!counts.empty() && counts.mapped() == std::to_string(saved.size()));
    for (const auto& [key, address] : saved) {
        Require(key.starts_with("ip") && key.size() < 10 && address.size() < 64);
    }
    return 0;
}
