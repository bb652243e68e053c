// The input is the manager's answer to an upload, frame header and all. It ends as one success or
// as one failure.
#include <google/protobuf/stubs/logging.h>

#include "common/state.h"
#include "fuzzed_agent.h"
#include "ipc/response.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Text that is not UTF-8 is common here, and each would be a line on standard error.
    static const auto protobuf_log = google::protobuf::SetLogHandler(nullptr);
    (void)protobuf_log;
    auto bytes = Bytes(data, size);
    Agent() = {};
    Attempt_Times = 4;
    g_preOnlineState = 7;
    s_lastUsrLogInfo.login_name = "somebody";
    IpcOnResponse(0, 0, bytes.data(), static_cast<unsigned>(size), nullptr);
    if (Attempt_Times == 0) {
        Require(g_preOnlineState == 1 && s_lastUsrLogInfo.login_name == "somebody");
    } else {
        Require(Attempt_Times == 5 && g_preOnlineState == 0 && s_lastUsrLogInfo.login_name.empty());
    }
    Require(Agent().requests.empty() && Agent().answers == 0);
    return 0;
}
