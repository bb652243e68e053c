#include "collectors/distribution.h"

#include <cstring>

#include "collectors/command.h"
#include "common/log.h"
#include "common/path.h"
#include "kxe_base.h"

namespace {

constexpr char kLogTag[] = "sysinfo";

constexpr char kShell[] = "/bin/bash";
constexpr char kScript[] = "/resmon_export.sh get_linux_dist_ver";

// One more than what the command holds beside its closing zero: a directory of exactly this length
// costs the command its last character and is not complained of.
constexpr std::size_t kLongestDirectory =
    kDistributionCommandSize - (sizeof kShell - 1) - 1 - (sizeof kScript - 1);
static_assert(kLongestDirectory == 4114);

}  // namespace

int BuildDistributionCommand(const char* directory, char (&command)[kDistributionCommandSize]) {
    int result = 0;
    command[0] = '\0';
    if (std::strlen(directory) > kLongestDirectory) {
        EP_LOG(kLogError,
               "execute m_cmd fail, m_cmd length out of range,m_cmd is:%s%s%s, limit is %d bytes\n",
               command, directory, kScript, static_cast<int>(sizeof command));
        result = -1;
    }
    (void)kxe_str_snprintf(command, sizeof command, "%s %s%s", kShell, directory, kScript);
    return result;
}

int ReadDistribution(char* text, std::size_t size) {
    char directory[kPathSize] = {};
    char command[kDistributionCommandSize] = {};
    ep_dirutils_path_transform("@", directory, sizeof directory);
    int result = BuildDistributionCommand(directory, command);
    if (RunCommand(command, text, size) != 0) {
        EP_LOG(kLogError, "execute m_cmd fail, m_cmd is %s\n", command);
        result = -1;
    }
    return result;
}
