// The input is a status heartbeat: it sets the agent online or does nothing, and has no answer.
// Then the same bytes come with the user interface's question, which has exactly one answer
// whatever comes with it, and with a request of another type, which has none.
#include <string_view>

#include "common/state.h"
#include "fuzzed_agent.h"
#include "ipc/inbound.h"

namespace {

constexpr unsigned kUntouched = 7;  // a state that nothing sets

int AnswersTo(unsigned type, const std::vector<char>& bytes) {
    Agent() = {};
    g_preOnlineState = kUntouched;
    IpcOnReqRecv(Bus(), Peer(), 1, type, bytes.data(), static_cast<unsigned>(bytes.size()),
                 &Endpoint());
    Require(Agent().requests.empty() && Agent().saved.empty());
    return Agent().answers;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const auto bytes = Bytes(data, size);
    Require(AnswersTo(101, bytes) == 0);
    Require(s_heartbeatMisses == 0);
    if (g_preOnlineState != kUntouched) {
        Require(g_preOnlineState == 1);
        Require(std::string_view(bytes.data(), size).find("status") != std::string_view::npos);
    }

    Require(AnswersTo(1008, bytes) == 1);
    Require(g_preOnlineState == kUntouched);
    Require(AnswersTo(1002, bytes) == 0);
    Require(g_preOnlineState == kUntouched);
    return 0;
}
