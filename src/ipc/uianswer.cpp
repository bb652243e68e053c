// The endpoint's answer to the user interface.
#include <cstdlib>

#include "common/log.h"
#include "common/state.h"
#include "ipc/epinfoipc.h"
#include "ipc/heapbuffer.h"
#include "ipc/xmsgowner.h"

namespace {

constexpr char kLogTag[] = "epinfoipc";
constexpr unsigned kOnlineStateAnswer = 1008;

void SendPacked(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id, const xmsg* msg) {
    const uint32_t size = xmsg_pack_size(msg);
    const HeapBuffer buffer = NewZeroed(uint64_t{size} + 1);
    if (buffer == nullptr) {
        EP_LOG(kLogError, "Failed to malloc memory for pack xmsg\n");
        return;
    }
    // Only a negative result is no answer. What is sent has the size asked for, not the result's.
    if (xmsg_pack(msg, buffer.get(), size) >= 0) {
        (void)nox_ipc_response(ipc, from, request_id, kOnlineStateAnswer, buffer.get(), size);
    }
}

}  // namespace

void CEpInfoIpc::IpcSendMsgtoUi(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id,
                                nox_ipc_response_cb /*callback*/, void* /*ctx*/) {
    const XmsgOwner msg(xmsg_new("agt_ei"));
    if (msg == nullptr) {
        EP_LOG(kLogCritical, "call xmsg_new failed.");
        std::abort();  // memory for a few bytes is missing: the process is not to limp on
    }
    EP_LOG(kLogDebug, "Send Msg to Ui %u", g_preOnlineState);
    EP_LOG(kLogDebug, "agent onlinestate is %u", g_preOnlineState);
    const char* const value = g_preOnlineState == 1 ? "1" : "0";
    if (xmsg_add(msg.get(), "online_state", 12, value, 1) != 0) {
        EP_LOG(kLogError, "xmsg to fail to add.");
        return;
    }
    SendPacked(ipc, from, request_id, msg.get());
}
