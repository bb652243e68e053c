// Asking the configuration centre for its sections. Runs on the worker.
#ifndef KXEPINFO_IPC_CFGREQUEST_H
#define KXEPINFO_IPC_CFGREQUEST_H

class CEpInfoIpc;

// Asks for the sections whose bits are set in `modules`. Known is bit 2, "global"; without it
// nothing is sent. No result: an answer comes to IpcOnCfgcResponse, a failure goes to the log and
// is not repeated before the next change notification or the next start of the worker.
void ReqCfgBySubModuleEx(CEpInfoIpc* ipc, unsigned modules);

// Sends one request, of type 1004, for exactly the section 2. True when it was handed to the
// endpoint, whatever the endpoint made of it.
bool ReqCfgBySubModule(CEpInfoIpc* ipc, unsigned modules);

// The answer to such a request; a nox_ipc_response_cb. `ctx` is no pointer but the number of the
// section that was asked for. An answer of another type than 1004 is ignored; one for "global" is
// mirrored to net_config.ini.
void IpcOnCfgcResponse(int status, unsigned type, const char* data, unsigned len, void* ctx);

#endif  // KXEPINFO_IPC_CFGREQUEST_H
