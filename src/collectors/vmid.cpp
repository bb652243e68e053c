#include "collectors/vmid.h"

#include <strings.h>

#include <cstdio>

#include "common/fileowner.h"
#include "common/iniowner.h"
#include "common/log.h"
#include "common/path.h"
#include "kxe_base.h"
#include "kxe_ini.h"
#include "nox_id.h"

namespace {

constexpr char kLogTag[] = "sysinfo";

constexpr std::size_t kAddressFilePathSize = 16384;
constexpr long kSmallestMachineId = 5;  // bytes

bool IsManagerOnThisMachine() {
    constexpr char kLoopback[] = "127.0.0.1";
    char path[kAddressFilePathSize];
    path[0] = '\0';  // what stays when the text cannot be made
    ep_dirutils_path_transform("@/../config/server.ini", path, sizeof path);
    const KxeIniOwner file(kxe_ini_file_load(path));
    if (file == nullptr) {
        EP_LOG(kLogError, "load %s failed", path);
        return false;
    }
    const char* const address = kxe_ini_file_get(file.get(), "config", "addr");
    // The beginning alone: a port may follow, and 127.0.0.10 is loop-back as well.
    if (address == nullptr || strncasecmp(address, kLoopback, sizeof kLoopback - 1) != 0) {
        return false;
    }
    EP_LOG(kLogDebug, "current server ip = %s", address);
    return true;
}

bool HasMachineId() {
    char path[kAddressFilePathSize];
    path[0] = '\0';
    ep_dirutils_path_transform("@/../config/machineid", path, sizeof path);
    const File file(kxe_file_open(path, "rb"));
    return file != nullptr && std::fseek(file.get(), 0, SEEK_END) == 0 &&
           std::ftell(file.get()) >= kSmallestMachineId;
}

}  // namespace

uint64_t GetVmid() {
    if (!IsManagerOnThisMachine()) {
        return 0;
    }
    if (HasMachineId()) {
        EP_LOG(kLogDebug, "agent id calculated by MAC");
        return 0;
    }
    return nox_get_vmidid();
}
