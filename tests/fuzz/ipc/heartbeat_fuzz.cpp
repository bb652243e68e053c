// The input is a status heartbeat. It sets the agent online or does nothing, and has no answer.
#include "common/state.h"
#include "fuzzed_agent.h"
#include "ipc/inbound.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto bytes = Bytes(data, size);
    Agent() = {};
    g_preOnlineState = 7;
    IpcOnReqRecv(Bus(), Peer(), 1, 101, bytes.data(), static_cast<unsigned>(size), &Endpoint());
    Require(g_preOnlineState == 1 || g_preOnlineState == 7);
    Require(s_heartbeatMisses == 0);
    Require(Agent().requests.empty() && Agent().answers == 0);
    return 0;
}
