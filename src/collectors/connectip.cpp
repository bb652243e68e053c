// The address that links to the manager, as the agent's connection component leaves it in a file.
#include <algorithm>
#include <cerrno>

#include "collectors/netinfo.h"
#include "common/iniowner.h"
#include "common/log.h"
#include "common/path.h"
#include "common/state.h"

namespace {

constexpr char kLogTag[] = "netinfo";
constexpr char kSection[] = "connect";

// False when it is not there.
bool MoveToFront(std::vector<std::string>& addresses, const std::string& address) {
    const auto found = std::find(addresses.begin(), addresses.end(), address);
    if (found == addresses.end()) {
        return false;
    }
    std::rotate(addresses.begin(), found, found + 1);
    return true;
}

bool MoveAddressToFront(_stAdapterInfo& adapter, const std::string& address) {
    const bool in_ipv4 = MoveToFront(adapter.if_ipv4, address);
    const bool in_ipv6 = MoveToFront(adapter.if_ipv6, address);
    return in_ipv4 || in_ipv6;
}

// The first adapter that has the address; false when none has.
bool MoveHolderToFront(std::vector<_stAdapterInfo>& adapters, const std::string& address) {
    for (auto adapter = adapters.begin(); adapter != adapters.end(); ++adapter) {
        if (MoveAddressToFront(*adapter, address)) {
            std::rotate(adapters.begin(), adapter, adapter + 1);
            return true;
        }
    }
    return false;
}

}  // namespace

int TransNetInfo(std::vector<_stAdapterInfo>& adapters) {
    char path[kPathSize] = {};
    ep_dirutils_path_transform("@/../var/connect.ini", path, sizeof path);
    const IniOwner ini(ini_file_load(path));
    if (ini == nullptr) {
        const int error = errno;
        EP_LOG(kLogError, "Failed to load ini:%s with errno: %d", path, error);
        return error;
    }
    const char* const value = ini_file_get(ini.get(), kSection, "ip");
    if (value == nullptr) {
        const int error = errno;
        // The message names the section where the key is meant.
        EP_LOG(kLogError, "Failed to get key:%s with errno: %d", kSection, error);
        return error;
    }
    const std::string address(value);
    if (address == "127.0.0.1") {
        EP_LOG(kLogError, "failed to get the ip link to mgr");
        return 1;
    }
    g_strCurConnectIp = address;
    if (MoveHolderToFront(adapters, address)) {
        EP_LOG(kLogDebug, "ip:%s link to mgr transfers to first successed", address.c_str());
    }
    return 0;
}
