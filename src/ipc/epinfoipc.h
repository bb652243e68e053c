// The module's endpoint on the agent's local bus: the one place from which the module sends.
#ifndef KXEPINFO_IPC_EPINFOIPC_H
#define KXEPINFO_IPC_EPINFOIPC_H

#include "nox_ipc.h"

// Owns the bus instance "agt_ei" and the addresses of its two peers, the manager "mgr_ei" and the
// configuration centre "agt_cfgc".
//
// The worker makes one with new (std::nothrow), calls IpcInit, registers the two inbound callbacks
// with the object as their context, and destroys it when it ends. All of it, the callbacks
// included, runs on the worker, which drives the bus with cl_event_loop_once; nothing is locked.
//
// A send reports only that the request was handed over. What became of it comes later, once, to the
// callback: status 0 with the answer, or an error code of the bus.
class CEpInfoIpc {
  public:
    CEpInfoIpc();
    ~CEpInfoIpc();  // calls IpcUnit
    CEpInfoIpc(const CEpInfoIpc&) = delete;
    CEpInfoIpc& operator=(const CEpInfoIpc&) = delete;

    // Joins the bus and makes the addresses. 0, or -1 when one of the three could not be made; what
    // was made before it stays for IpcUnit.
    int IpcInit();

    // Leaves the bus: no callback of this endpoint runs afterwards. May be called again.
    void IpcUnit();

    // Routes one-way messages to the callback, which gets `ctx`. 0; -1 when either is null; or the
    // bus library's error code.
    int RegisterIpcRecvCallback(nox_ipc_msg_cb callback, void* ctx);

    // Routes requests to the callback, which gets `ctx`. 0, or -1 whatever went wrong.
    int RegisterIpcRecvReqCallback(nox_ipc_request_cb callback, void* ctx);

    // Sends `len` bytes to the manager behind a frame header (frame.h), as a request of `type` to
    // be answered within 5 s. The caller keeps `data`; it may be empty but not null. 0: handed
    // over; 12: `data` is null, or there is no memory for the frame or no frame of that size; 22:
    // not initialised. Unless 0 is returned, the callback does not run.
    int IpcSendMsg(int type, const char* data, unsigned len, nox_ipc_response_cb callback,
                   void* ctx);

    // The same to the configuration centre, without a header. 0, or -1 for null `data` or an
    // endpoint that is not initialised.
    int IpcSendMsgtoCfg(int type, const char* data, unsigned len, nox_ipc_response_cb callback,
                        void* ctx);

    // Answers a request of the user interface, `request_id` of the peer `from`, with the agent's
    // online state: type 1008, key "online_state", "1" when g_preOnlineState is exactly 1, else
    // "0". `callback` and `ctx` are not used. Without memory for an empty message the process is
    // aborted.
    void IpcSendMsgtoUi(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id,
                        nox_ipc_response_cb callback, void* ctx);

  private:
    nox_ipc_st* m_pIpc;
    nox_addr_st* m_pMgrAddr;
    // Never released, neither by IpcUnit nor by the destructor: each IpcInit leaves one reference
    // to it behind. Null until IpcInit sets it, so that the sends can test it.
    nox_addr_st* m_pAgtCfgAddr = nullptr;
};

#endif  // KXEPINFO_IPC_EPINFOIPC_H
