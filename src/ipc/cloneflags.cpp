#include "ipc/cloneflags.h"

#include <unistd.h>

#include <cstring>

#include "common/log.h"
#include "common/path.h"
#include "ipc/createfile.h"
#include "kxe_base.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

bool Exists(const char* path) {
    return access(path, F_OK) == 0;
}

bool CreateCloneFlag(const char* path) {
    CreatedFile file = CreateOrTruncate(path);
    if (!file.IsOpen()) {
        EP_LOG(kLogCritical, "fail to open: %s", path);
        return false;
    }
    char text[32] = {};
    (void)kxe_str_snprintf(text, sizeof text, "%d", 1);
    if (!file.Write(text, std::strlen(text))) {
        EP_LOG(kLogCritical, "create clone_flag");
        return false;
    }
    return true;
}

}  // namespace

void MarkAsClone(uint32_t duplicate) {
    EP_LOG(kLogInformation, "duplicate:%u", duplicate);
    char recalculate[kPathSize] = {};
    kxe_dirutils_path_transform("@/../config/recalculate_agentid", recalculate, sizeof recalculate);
    if (Exists(recalculate)) {
        return;
    }
    EP_LOG(kLogInformation, "recalculate");
    char clone[kPathSize] = {};
    kxe_dirutils_path_transform("@/../config/clone_flag", clone, sizeof clone);
    if (!Exists(clone) && !CreateCloneFlag(clone)) {
        EP_LOG(kLogError, "fail to touch clone_flag");
        return;
    }
    if (!CreateOrTruncate(recalculate).IsOpen()) {
        EP_LOG(kLogError, "fail to touch recalculate flag");
    }
}
