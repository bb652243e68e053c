// The input is an answer of the configuration centre. Whatever is mirrored from it must be a list
// of addresses with its right count. The same bytes as an answer of another type, to another
// question or behind an error of the bus are never mirrored.
#include <cstdlib>

#include "fuzzed_agent.h"
#include "ipc/cfgrequest.h"

namespace {

void Receive(int status, unsigned type, uintptr_t section, const std::vector<char>& bytes) {
    Agent() = {};
    IpcOnCfgcResponse(status, type, bytes.data(), static_cast<unsigned>(bytes.size()),
                      reinterpret_cast<void*>(section));
    Require(Agent().requests.empty() && Agent().answers == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto bytes = Bytes(data, size);
    Receive(110, 1004, 2, bytes);
    Require(Agent().saved.empty());
    Receive(0, 1005, 2, bytes);
    Require(Agent().saved.empty());
    Receive(0, 1004, 3, bytes);
    Require(Agent().saved.empty());

    Receive(0, 1004, 2, bytes);
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
