// Mirrors the configuration centre's addresses to net_config.ini for the rest of the agent.
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "common/exitflag.h"
#include "common/iniowner.h"
#include "common/log.h"
#include "ipc/cfgparser.h"
#include "ipc/createfile.h"
#include "kxe_base.h"
#include "kxe_glock.h"

namespace {

constexpr char kLogTag[] = "cfgparser";
constexpr char kLockName[] = "Global\\{C9580F9C-A601-4300-879D-F54133492687}";
constexpr unsigned kLockTimeout = 10000;  // ms
constexpr unsigned kLockTimeoutInStop = 1;
constexpr char kSection[] = "multi_ip";

using Addresses = std::map<std::string, std::string>;

struct EndLock {
    void operator()(kxe_glock* lock) const {
        kxe_glock_release(lock);  // also when it was not acquired, which the library allows
        kxe_glock_destroy(lock);
    }
};

// What one write holds. Members go in reverse order: first the lock, last the file that was made.
struct NetConfig {
    CreatedFile created;
    IniOwner ini;
    std::unique_ptr<kxe_glock, EndLock> lock;
};

bool Lock(NetConfig& config) {
    kxe_glock* lock = nullptr;
    const int init_error = kxe_glock_init(kLockName, &lock);
    if (init_error != 0) {
        EP_LOG(kLogCritical, "init glock fail, err: %d", init_error);
        return false;
    }
    config.lock.reset(lock);
    // Several answers may wait in one pass of the event loop; a stop waits for one of them at most.
    const unsigned timeout = IsStopRequested() ? kLockTimeoutInStop : kLockTimeout;
    const int acquire_error = kxe_glock_acquire_timeout(lock, timeout);
    if (acquire_error != 0) {
        EP_LOG(kLogCritical, "acquire glock fail, err: %d", acquire_error);
        return false;
    }
    return true;
}

bool Load(NetConfig& config, const char* path) {
    if (access(path, F_OK) != 0) {
        config.created = CreateOrTruncate(path);
        if (!config.created.IsOpen()) {
            const int error = errno;
            EP_LOG(kLogError, "Failed to create file: %s with error code: %d\n", path, error);
        }
    }
    config.ini.reset(ini_file_load(path));
    if (config.ini == nullptr) {
        EP_LOG(kLogError, "load file %s failed", path);
        return false;
    }
    return true;
}

void Replace(ini_file* ini, const Addresses& addresses) {
    char count[10] = {};
    (void)str_snprintf(count, sizeof count, "%u", static_cast<unsigned>(addresses.size()));
    (void)ini_file_del(ini, kSection);
    (void)ini_file_set(ini, kSection, "counts", count);
    for (const auto& [key, address] : addresses) {
        (void)ini_file_set(ini, kSection, key.c_str(), address.c_str());
    }
}

bool Save(ini_file* ini, const char* path) {
    if (ini_file_save(ini, path, 0) != 0) {
        const int error = errno;
        EP_LOG(kLogError, "save multi_ip to file: %s failed err: %d", path, error);
        return false;
    }
    return true;
}

}  // namespace

bool ParseCfgcGlobalIp(const char* data, unsigned len) {
    Addresses addresses;
    if (!GetIpConfInfo(data, len, addresses)) {
        EP_LOG(kLogError, "get ip from cfgc failed");
        return false;
    }
    char path[1024] = {};
    dirutils_path_transform("@/../config/net_config.ini", path, sizeof path);
    if (path[0] == '\0') {
        // The message names another file than the one that is meant.
        EP_LOG(kLogError, "transform server_port file path failed");
        return false;
    }
    NetConfig config;
    if (!Lock(config) || !Load(config, path)) {
        return false;
    }
    Replace(config.ini.get(), addresses);
    return Save(config.ini.get(), path);
}
