#include "ipc/epinfoipc.h"

#include <cerrno>
#include <cstring>
#include <limits>

#include "common/log.h"
#include "ipc/frame.h"
#include "ipc/heapbuffer.h"

namespace {

constexpr char kLogTag[] = "epinfoipc";
constexpr int kAnswerTimeout = 5;  // seconds

}  // namespace

CEpInfoIpc::CEpInfoIpc() : m_pIpc(nullptr), m_pMgrAddr(nullptr) {}

CEpInfoIpc::~CEpInfoIpc() {
    IpcUnit();
}

int CEpInfoIpc::IpcInit() {
    m_pIpc = nox_ipc_create("agt_ei", 0);
    if (m_pIpc == nullptr) {
        EP_LOG(kLogError, "create ipc failed with error code: %d\n", -1);
        return -1;
    }
    m_pMgrAddr = nox_addr_create("mgr_ei", 2, 2);
    if (m_pMgrAddr == nullptr) {
        EP_LOG(kLogError, "create ipc address failed with error code: %d\n", -1);
        return -1;
    }
    m_pAgtCfgAddr = nox_addr_create("agt_cfgc", 0, 0);
    if (m_pAgtCfgAddr == nullptr) {
        EP_LOG(kLogError, "nox_addr_create failed with error code: %d\n", -1);
        return -1;
    }
    return 0;
}

void CEpInfoIpc::IpcUnit() {
    EP_LOG(kLogInformation, "IPC is unitializing...\n");
    if (m_pIpc != nullptr) {
        nox_ipc_destroy(m_pIpc);
        m_pIpc = nullptr;
    }
    if (m_pMgrAddr != nullptr) {
        nox_addr_destroy(m_pMgrAddr);
        m_pMgrAddr = nullptr;
    }
    // m_pAgtCfgAddr stays: the configuration centre's address lives as long as the process.
}

int CEpInfoIpc::RegisterIpcRecvCallback(nox_ipc_msg_cb callback, void* ctx) {
    if (callback == nullptr || ctx == nullptr) {
        EP_LOG(kLogError, "Register Ipc RecvCallback param error");
        return -1;
    }
    const int code = nox_ipc_msg_recv(m_pIpc, callback, ctx);
    if (code != 0) {
        EP_LOG(kLogError,
               "bind IpcOnMsgRecv to m_pAgtCfgAddr failed with code:"
               "               %d and errmsg: %s",
               code, nox_ipc_strerror(code));
    }
    return code;
}

int CEpInfoIpc::RegisterIpcRecvReqCallback(nox_ipc_request_cb callback, void* ctx) {
    if (callback == nullptr || ctx == nullptr) {
        EP_LOG(kLogError, "Register Ipc RecvCallback param error");
        return -1;
    }
    if (nox_ipc_on_request(m_pIpc, callback, ctx) != 0) {
        // This message says -1 whatever the library's code was.
        EP_LOG(kLogError, "on_request failed with code: \t\t\t\t %d and errmsg: %s", -1,
               nox_ipc_strerror(-1));
        return -1;
    }
    return 0;
}

int CEpInfoIpc::IpcSendMsg(int type, const char* data, unsigned len, nox_ipc_response_cb callback,
                           void* ctx) {
    if (data == nullptr) {
        EP_LOG(kLogError, "send msg to mgr failed with error code: %u\n", unsigned{ENOMEM});
        return ENOMEM;
    }
    if (m_pIpc == nullptr || m_pMgrAddr == nullptr) {
        EP_LOG(kLogError, "IPC has not initialized, please initilize before using\n");
        return EINVAL;
    }
    // The bus counts bytes in 32 bits, so a frame beyond that is one that cannot be had.
    const uint64_t size = uint64_t{len} + kFrameHeaderSize;
    const bool possible = size <= std::numeric_limits<unsigned>::max();
    const HeapBuffer frame = possible ? NewZeroed(size) : nullptr;
    if (frame == nullptr) {
        EP_LOG(kLogError, "create module header failed with error code: %u\n", unsigned{ENOMEM});
        return ENOMEM;
    }
    WriteFrameHeader(frame.get(), len);
    std::memcpy(frame.get() + kFrameHeaderSize, data, len);
    (void)nox_ipc_make_request(m_pIpc, m_pMgrAddr, static_cast<unsigned>(type), frame.get(),
                               static_cast<unsigned>(size), callback, ctx, kAnswerTimeout);
    return 0;
}

int CEpInfoIpc::IpcSendMsgtoCfg(int type, const char* data, unsigned len,
                                nox_ipc_response_cb callback, void* ctx) {
    if (data == nullptr) {
        EP_LOG(kLogError, "send msg to cfg failed");
        return -1;
    }
    if (m_pIpc == nullptr || m_pAgtCfgAddr == nullptr) {
        EP_LOG(kLogError, "IPC has not initialized, please initilize before using");
        return -1;
    }
    (void)nox_ipc_make_request(m_pIpc, m_pAgtCfgAddr, static_cast<unsigned>(type), data, len,
                               callback, ctx, kAnswerTimeout);
    return 0;
}
