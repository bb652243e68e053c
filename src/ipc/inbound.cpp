#include "ipc/inbound.h"

#include <cstdint>
#include <cstdlib>

#include "common/log.h"
#include "common/state.h"
#include "ipc/cfgparser.h"
#include "ipc/cfgrequest.h"
#include "ipc/epinfoipc.h"
#include "ipc/xmsgowner.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

constexpr unsigned kConfigurationChanged = 1002;
constexpr unsigned kOnlineStateQuestion = 1008;
constexpr unsigned kStatusHeartbeat = 101;

}  // namespace

void IpcOnMsgRecv(nox_ipc_st* ipc, const nox_addr_st* from, unsigned type, const char* data,
                  unsigned len, void* ctx) {
    if (ipc == nullptr || from == nullptr || data == nullptr || ctx == nullptr || len == 0) {
        EP_LOG(kLogError, "IpcOnMsgRecvProc get invalid data");
        return;
    }
    if (type != kConfigurationChanged) {
        EP_LOG(kLogError, "unsupport msg recv cmd = %d", static_cast<int>(type));
        return;
    }
    unsigned modules = 0;
    if (GetNotifyCfgModlues(data, len, modules)) {
        ReqCfgBySubModuleEx(static_cast<CEpInfoIpc*>(ctx), modules);
    }
}

void IpcOnReqRecv(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id, unsigned type,
                  const char* data, unsigned len, void* ctx) {
    if (ipc == nullptr || from == nullptr || ctx == nullptr) {
        EP_LOG(kLogError, "IpcOnMsgRecvProc get invalid data");  // the text of the other callback
        return;
    }
    switch (type) {
        case kOnlineStateQuestion:
            static_cast<CEpInfoIpc*>(ctx)->IpcSendMsgtoUi(ipc, from, request_id, nullptr, nullptr);
            break;
        case kStatusHeartbeat:  // never answered: its sender does not wait for one
            OnStatusHeartbeat(data, len);
            break;
        default:
            EP_LOG(kLogError, "unknown cmd :%u", type);
    }
}

void OnStatusHeartbeat(const char* data, unsigned len) {
    const XmsgOwner msg(data == nullptr ? nullptr : xmsg_unpack(data, len));
    if (msg == nullptr) {
        EP_LOG(kLogError, "xmsg_unpack failed");
        return;
    }
    const char* const text = GetText(msg, "status");
    if (text == nullptr) {
        return;
    }
    // Only the low 32 bits of the number count; text that is no number is 0.
    if (static_cast<uint32_t>(std::strtoul(text, nullptr, 10)) == 0) {
        ++s_heartbeatMisses;
        if (s_heartbeatMisses > 3) {
            g_preOnlineState = 0;
            return;
        }
        // A status of 0 goes on here and sets the agent online like any other, so misses never add
        // up: whether the agent is offline is decided by its exchanges with the manager alone.
    }
    g_preOnlineState = 1;
    s_heartbeatMisses = 0;
}
