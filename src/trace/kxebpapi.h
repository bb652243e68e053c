// The agent's tracing SDK, loaded at run time: a module that is installed without it works as well.
#ifndef KXEPINFO_TRACE_KXEBPAPI_H
#define KXEPINFO_TRACE_KXEBPAPI_H

#include <cstdint>

#include "trace/eventheader.h"

// What the SDK and the bus library offer, and who this agent is. The worker's thread alone uses it;
// nothing is locked. Whatever could not be had keeps the initial value below, silently.
class KxebpApi {
  public:
    using Trace = int(const BpEventHeader* header, const char* format, ...);
    using Other = int(int code, const void* data, unsigned len);
    using Init = int();
    using Uninit = void();
    using GetHostId = uint32_t();

    // The one instance, made by the first call that finds memory for it; null when there is none.
    // It lives until the process ends, since the SDK may have begun something that runs on. When
    // the module is unloaded after an event its bytes and its references to the libraries remain.
    static KxebpApi* get();

    // How many instances get() has made since the module was loaded: 0 or 1.
    static unsigned Created() { return s_created; }

    // Loads both libraries, starts the SDK, and reads version and id. Use get().
    KxebpApi();
    KxebpApi(const KxebpApi&) = delete;
    KxebpApi& operator=(const KxebpApi&) = delete;

    void* sdk_handle = nullptr;  // @/../lib/libkxe_bpsdk.so
    void* ipc_handle = nullptr;  // @/../lib/libnoxipc.so

    // The SDK's functions. The module calls kxe_bp_init, once, and kxe_bp_trace_utf8; it never ends
    // tracing.
    Trace* kxe_bp_trace = nullptr;
    Trace* kxe_bp_trace_unicode = nullptr;
    Trace* kxe_bp_trace_utf8 = nullptr;
    GetHostId* nox_get_hostid = nullptr;  // the bus library's; 0 when the id is unknown
    Other* kxe_bp_other = nullptr;
    Init* kxe_bp_init = nullptr;
    Uninit* kxe_bp_uninit = nullptr;

    // Read when the instance is made and never again, so later changes are not seen. Both end with
    // a zero byte. The version is that of @/../config/agent_cfg.json, cut to 15 bytes.
    char version[16] = "3.7.2.20";
    char host_id[32] = "0000000000";

  private:
    void LoadSdk();
    void LoadIpc();
    void ReadVersion();
    void ReadHostId();

    static KxebpApi* s_instance;
    static unsigned s_created;
};

#endif  // KXEPINFO_TRACE_KXEBPAPI_H
