#include "collectors/sysinfo.h"

#include <sys/stat.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>

#include "collectors/command.h"
#include "collectors/distribution.h"
#include "collectors/hypervisor.h"
#include "collectors/vmid.h"
#include "common/log.h"
#include "common/path.h"
#include "kxe_base.h"

namespace {

constexpr char kLogTag[] = "sysinfo";

constexpr int32_t kHostType = 1;
constexpr int32_t kPlatform64Bit = 4;
constexpr int32_t kPlatformOther = 3;
constexpr std::size_t kDistributionSize = 128;
constexpr std::size_t kWordSizeSize = 10;
constexpr std::size_t kContainerIdSize = 65;

template <std::size_t size>
void SetText(char (&field)[size], const char* text) {
    (void)kxe_str_strlcpy(field, text, size);
}

// 0, or errno with the fallbacks in place.
int ReadKernelNames(utsname& kernel) {
    if (uname(&kernel) == 0) {
        return 0;
    }
    const int error = errno;
    EP_LOG(kLogError, "uname fail,%s\n", std::strerror(error));
    SetText(kernel.nodename, "unkown");  // so spelt: the manager knows it as this text
    SetText(kernel.release, "linux");
    SetText(kernel.version, "unknown");
    SetText(kernel.machine, "unknown architecture");
    return error;
}

// 0, or -1 with 64 bits assumed.
int ReadPlatform(int32_t& platform) {
    constexpr char kCommand[] = "getconf LONG_BIT";
    char word_size[kWordSizeSize] = {};
    platform = kPlatform64Bit;
    if (RunCommand(kCommand, word_size, sizeof word_size) != 0) {
        EP_LOG(kLogError, "execute cmd \"%s\" failed.", kCommand);
        return -1;
    }
    // A getconf that is missing prints nothing, and nothing is not "64" either.
    if (std::string_view(word_size) != "64") {
        platform = kPlatformOther;
    }
    return 0;
}

void ReadContainerId(std::string& id) {
    if (IsCNAPPAgent() == 0) {
        return;
    }
    char text[kContainerIdSize] = {};
    (void)read_container_id(getpid(), text, sizeof text);  // outside a container the text is empty
    id = text;
}

}  // namespace

uint64_t GetRecalculateTimestamp() {
    char path[kPathSize] = {};
    ep_dirutils_path_transform("@/../config/recalculate_agentid", path, sizeof path);
    if (access(path, F_OK) != 0) {
        return 0;
    }
    struct stat status {};
    if (stat(path, &status) != 0) {
        EP_LOG(kLogError, "fail to stat : %s", path);
        return 0;
    }
    return static_cast<uint64_t>(status.st_ctime);
}

int GetSysInfo(_stSysInfo& info) {
    utsname kernel{};
    char distribution[kDistributionSize] = {};
    int result = ReadKernelNames(kernel);
    if (ReadDistribution(distribution, sizeof distribution) != 0) {
        result = -1;
    }
    IsInVirtualEnv(info.is_virtual);
    info.host_type = kHostType;
    if (ReadPlatform(info.host_plat) != 0) {
        result = -1;
    }
    info.cpu_core = static_cast<int32_t>(sysconf(_SC_NPROCESSORS_CONF));
    info.host_node = kernel.nodename;
    info.sys_release = kernel.release;
    info.sys_version = kernel.version;
    info.sys_machine = kernel.machine;
    info.sys_distro = distribution;
    info.uVmid = GetVmid();
    ReadContainerId(info.containerId);
    info.recal_timestamp = GetRecalculateTimestamp();
    return result;
}
