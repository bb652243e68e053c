#include "trace/kxebpapi.h"

#include <new>

#include "common/jsonfile.h"
#include "common/path.h"
#include "kxe_base.h"
#include "trace/installedlibrary.h"

KxebpApi* KxebpApi::s_instance = nullptr;
unsigned KxebpApi::s_created = 0;

KxebpApi* KxebpApi::get() {
    if (s_instance == nullptr) {
        s_instance = new (std::nothrow) KxebpApi;
        if (s_instance != nullptr) {
            ++s_created;
        }
    }
    return s_instance;
}

KxebpApi::KxebpApi() {
    LoadSdk();
    LoadIpc();
    ReadVersion();
    ReadHostId();
}

void KxebpApi::LoadSdk() {
    sdk_handle = OpenInstalledLibrary("@/../lib/libkxe_bpsdk.so");
    if (sdk_handle == nullptr) {
        return;
    }
    kxe_bp_trace = FindFunction<Trace>(sdk_handle, "kxe_bp_trace");
    kxe_bp_trace_unicode = FindFunction<Trace>(sdk_handle, "kxe_bp_trace_unicode");
    kxe_bp_trace_utf8 = FindFunction<Trace>(sdk_handle, "kxe_bp_trace_utf8");
    kxe_bp_other = FindFunction<Other>(sdk_handle, "kxe_bp_other");
    kxe_bp_init = FindFunction<Init>(sdk_handle, "kxe_bp_init");
    kxe_bp_uninit = FindFunction<Uninit>(sdk_handle, "kxe_bp_uninit");
    if (kxe_bp_init != nullptr) {
        (void)kxe_bp_init();
    }
}

void KxebpApi::LoadIpc() {
    ipc_handle = OpenInstalledLibrary("@/../lib/libnoxipc.so");
    if (ipc_handle != nullptr) {
        nox_get_hostid = FindFunction<GetHostId>(ipc_handle, "nox_get_hostid");
    }
}

void KxebpApi::ReadVersion() {
    char path[kPathSize] = {};
    ep_dirutils_path_transform("@/../config/agent_cfg.json", path, sizeof path);
    json_error_t error;  // of no interest here: the version's collector tells it
    const JsonOwner configuration = LoadJsonFile(path, error);
    const json_t* const versions = json_object_get(configuration.get(), "version");
    const char* const components = json_string_value(json_object_get(versions, "components"));
    if (components != nullptr) {
        (void)kxe_str_strlcpy(version, components, sizeof version);
    }
}

void KxebpApi::ReadHostId() {
    const uint32_t id = nox_get_hostid != nullptr ? nox_get_hostid() : 0;
    if (id != 0) {
        (void)kxe_str_snprintf(host_id, sizeof host_id, "%u", id);
    }
}
