#include "collectors/extinfo.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "collectors/versions.h"
#include "common/iniowner.h"
#include "common/jsonowner.h"
#include "common/log.h"
#include "common/path.h"

namespace {

constexpr char kLogTag[] = "extinfo";
constexpr off_t kMostBytes = off_t{4} << 20;  // as the agent's INI files

// An errno value for what the parser must not open: it would wait for a pipe's writer, and read
// without a limit. 0 for all else, a missing file included, of which the parser itself tells.
int WhyUnfit(const char* path) {
    struct stat status = {};
    if (stat(path, &status) != 0) {
        return 0;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    return status.st_size > kMostBytes ? EFBIG : 0;
}

// Null, told in the log, when the file cannot be read or is not JSON.
JsonOwner LoadJson(const char* path) {
    if (const int error = WhyUnfit(path); error != 0) {
        EP_LOG(kLogError, "json load file (%s) failed with %s", path, strerrordesc_np(error));
        return nullptr;
    }
    json_error_t error = {};
    JsonOwner document(json_load_file(path, JSON_DECODE_ANY, &error));
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
