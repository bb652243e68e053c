// The manager's answer to an upload, and what it says about the link. Runs on the worker, between
// two collection cycles.
#ifndef KXEPINFO_IPC_RESPONSE_H
#define KXEPINFO_IPC_RESPONSE_H

#include "common/records.h"

// Reads an answer: frame header (frame.h), then the message epinfo_msg_respone. 0; or -1 when it is
// shorter than 20 bytes or longer than 10 MiB, shorter than its header says, of another payload
// type than 1, or no such message; `out` is then left as it is. Bytes behind the payload are
// ignored.
//
// `data` must be writable memory of `len` bytes, as the bus hands it to callbacks: the header's
// numbers are converted to host order where they stand, also when the call fails later. It needs
// no alignment. A buffer can therefore be parsed only once.
int ParseIpcMsg(const char* data, unsigned len, _mgrRespondMsg& out);

// The nox_ipc_response_cb of uploads. `type` and `ctx` are not used.
//
// An accepted upload sets g_preOnlineState to 1 and Attempt_Times to 0. Everything else (an error
// of the bus, no data, an answer that cannot be read, status 0) is a failure: Attempt_Times counts
// it, the fifth in a row sets g_preOnlineState to 0, and what the manager may have missed is
// forgotten in s_lastAgentInfo and s_lastUsrLogInfo, so that the next cycle uploads it again. Any
// data at all, readable or not, copies g_strCurConnectIp to g_strPreConnectIp.
void IpcOnResponse(int status, unsigned type, const char* data, unsigned len, void* ctx);

#endif  // KXEPINFO_IPC_RESPONSE_H
