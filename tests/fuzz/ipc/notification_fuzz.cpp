// The input is a notification of a changed configuration, and then the same bytes are a one-way
// message of another type. Only the first may lead to a request, and to no more than that for the
// global section.
#include <string_view>

#include "fuzzed_agent.h"
#include "ipc/inbound.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto bytes = Bytes(data, size);
    const auto length = static_cast<unsigned>(size);
    Agent() = {};
    IpcOnMsgRecv(Bus(), Peer(), 1002, bytes.data(), length, &Endpoint());
    Require(Agent().requests.size() <= 1 && Agent().answers == 0);
    if (!Agent().requests.empty()) {
        Require(std::string_view(bytes.data(), size).find("global") != std::string_view::npos);
        Require(Agent().requests.front().find("module") != std::string::npos);
    }

    Agent() = {};
    IpcOnMsgRecv(Bus(), Peer(), 1003, bytes.data(), length, &Endpoint());
    Require(Agent().requests.empty() && Agent().answers == 0);
    return 0;
}
