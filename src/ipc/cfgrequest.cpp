#include "ipc/cfgrequest.h"

#include <cstdint>

#include "common/guard.h"
#include "common/log.h"
#include "ipc/cfgparser.h"
#include "ipc/epinfoipc.h"
#include "ipc/heapbuffer.h"
#include "nox_ipc.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";
constexpr unsigned kConfigurationRequest = 1004;

// The context of a request is the number of the section, carried in the pointer: nothing to own,
// nothing to outlive.
void* ContextOf(unsigned modules) {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): never used as an address
    return reinterpret_cast<void*>(static_cast<uintptr_t>(modules));
}

}  // namespace

void ReqCfgBySubModuleEx(CEpInfoIpc* ipc, unsigned modules) {
    if (ipc == nullptr || modules == 0) {
        EP_LOG(kLogError, "param error");
        return;
    }
    if ((modules & kCfgGlobal) != 0 && !ReqCfgBySubModule(ipc, modules)) {
        EP_LOG(kLogError, "request global cfgc failed");
    }
}

bool ReqCfgBySubModule(CEpInfoIpc* ipc, unsigned modules) {
    if (ipc == nullptr || modules == 0) {
        EP_LOG(kLogError, "param error");
        return false;
    }
    int len = 0;
    const HeapBuffer request(BuildReqCfgXmsgData(modules, len));
    if (request == nullptr) {
        EP_LOG(kLogError, "BuildReqDataEx failed");
        return false;
    }
    (void)ipc->IpcSendMsgtoCfg(kConfigurationRequest, request.get(), static_cast<unsigned>(len),
                               IpcOnCfgcResponse, ContextOf(modules));
    return true;
}

void IpcOnCfgcResponse(int status, unsigned type, const char* data, unsigned len, void* ctx) {
    if (status != 0 || data == nullptr || len == 0) {
        EP_LOG(kLogError, "send msg to local cfg failed with error msg: %s",
               nox_ipc_strerror(status));
        return;
    }
    if (type != kConfigurationRequest) {
        return;
    }
    bool written = false;
    if (ctx == ContextOf(kCfgGlobal)) {
        (void)GuardException("the configuration's answer",
                             [&] { written = ParseCfgcGlobalIp(data, len); });
    }
    if (written) {
        EP_LOG(kLogInformation, "write multi ip success");
    } else {
        EP_LOG(kLogError, "parse global cfgc failed Type = %ld",
               static_cast<long>(reinterpret_cast<intptr_t>(ctx)));
    }
}
