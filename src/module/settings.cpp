#include "module/settings.h"

#include <unistd.h>

#include <cstdlib>

#include "common/iniowner.h"
#include "common/log.h"
#include "common/path.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

constexpr int kDefaultGap = 40;  // seconds
constexpr int kSmallestGap = 2;

bool Exists(const char* at_path) {
    char path[kPathSize] = {};
    ep_dirutils_path_transform(at_path, path, sizeof path);
    return access(path, F_OK) == 0;
}

}  // namespace

int GetFlushGap() {
    char path[kPathSize] = {};
    ep_dirutils_path_transform("@/../config/kxepinfocfg.ini", path, sizeof path);
    const KxeIniOwner file(kxe_ini_file_load(path));
    if (file == nullptr) {
        EP_LOG(kLogInformation, "load %s fail,use default gap value %d\n", path, kDefaultGap);
        return kDefaultGap;
    }
    const char* const value = kxe_ini_file_get(file.get(), "flushgap", "value");
    if (value == nullptr) {
        EP_LOG(kLogInformation, "get gap from %s fail,use default value %d\n", path, kDefaultGap);
        return kDefaultGap;
    }
    const long number = std::strtol(value, nullptr, 10);
    const int gap = static_cast<int>(number);  // the low 32 bits, by contract
    if (gap < kSmallestGap) {
        EP_LOG(kLogInformation, " gap in %s too small,use default value %d\n", path, kDefaultGap);
        return kDefaultGap;
    }
    return gap;
}

bool IsAutoTestEnbaled() {
    return Exists("@/kxepinfo_flag.txt");
}

bool IsUninstalling() {
    return Exists("@/uninstalling");
}
