// What peers send to the module of their own accord. All three run on the worker, from its event
// loop. Bad or unknown input is logged and dropped; nobody is told of a failure.
#ifndef KXEPINFO_IPC_INBOUND_H
#define KXEPINFO_IPC_INBOUND_H

#include "nox_ipc.h"

// One-way messages; `ctx` is the CEpInfoIpc. Known is type 1002, a packed xmsg from the
// configuration centre that names the sections that changed: the module asks for them again.
void IpcOnMsgRecv(nox_ipc_st* ipc, const nox_addr_st* from, unsigned type, const char* data,
                  unsigned len, void* ctx);

// Requests; `ctx` is the CEpInfoIpc. Known are type 1008, the user interface's question for the
// online state, which is answered; and type 101, a status heartbeat, which is not.
void IpcOnReqRecv(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id, unsigned type,
                  const char* data, unsigned len, void* ctx);

// A status heartbeat: a packed xmsg whose key "status" is a decimal number. Any status sets
// g_preOnlineState to 1, 0 too: a run of zeros never makes the agent offline, which only failed
// exchanges with the manager do (response.h). Without the key nothing changes.
void OnStatusHeartbeat(const char* data, unsigned len);

#endif  // KXEPINFO_IPC_INBOUND_H
