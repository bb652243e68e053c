#include "collectors/extinfo.h"

#include "collectors/versions.h"
#include "common/iniowner.h"
#include "common/jsonfile.h"
#include "common/log.h"
#include "common/path.h"

namespace {

constexpr char kLogTag[] = "extinfo";

// Null, told in the log, when the file cannot be read or is not JSON.
JsonOwner LoadJson(const char* path) {
    json_error_t error;
    JsonOwner document = LoadJsonFile(path, error);
    if (document == nullptr) {
        EP_LOG(kLogError, "json load file (%s) failed with %s", path, error.text);
    }
    return document;
}

}  // namespace

int GetServerIp(std::string& out) {
    char path[kPathSize] = {};
    ep_dirutils_path_transform("@/../config/server.ini", path, sizeof path);
    const KxeIniOwner file(kxe_ini_file_load(path));
    if (file == nullptr) {
        EP_LOG(kLogError, "Failed to open server.ini: %s\n", path);
        return -1;
    }
    const char* const address = kxe_ini_file_get(file.get(), "config", "addr");
    if (address == nullptr) {
        EP_LOG(kLogError, "Failed to get ip");
        return -1;
    }
    out = address;
    EP_LOG(kLogDebug, "mgr ip is %s", out.c_str());
    return 0;
}

int GetExtInfo(_stExtInfo& out) {
    char path[kPathSize] = {};
    ep_dirutils_path_transform("@/../config/agent_cfg.json", path, sizeof path);
    SetDefaultVersions(path, out);
    const JsonOwner document = LoadJson(path);
    if (document == nullptr || !FillVersions(document.get(), out)) {
        return 0;
    }
    if (GetServerIp(out.mgr_addr) != 0) {
        EP_LOG(kLogError, "get server ip failed");
    }
    return 0;
}
