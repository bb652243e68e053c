#include "common/path.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kxe_base.h"

namespace {

thread_local char s_execpath[kPathSize];

void FindExecutableDirectory() {
    const ssize_t length = readlink("/proc/self/exe", s_execpath, sizeof s_execpath - 1);
    if (length >= 0) {
        s_execpath[length] = '\0';
        if (char* slash = std::strrchr(s_execpath, '/')) {
            *slash = '\0';
            return;
        }
    }
    std::strcpy(s_execpath, "/");
}

bool Exists(const char* path) {
    return access(path, F_OK) == 0;
}

// 0 when `path` is there afterwards.
int MakeOne(const char* path, int mode) {
    return mkdir(path, static_cast<mode_t>(mode)) == 0 || errno == EEXIST ? 0 : -1;
}

// Creates every directory that a separator in `path` ends, but not the one that the last character
// ends.
int MakeParents(const char* path, int mode) {
    char prefix[kPathSize] = {};
    for (std::size_t i = 0; i < sizeof prefix - 1 && path[i] != '\0'; ++i) {
        if (i > 0 && (path[i] == '/' || path[i] == '\\')) {
            if (path[i + 1] == '\0') {
                break;
            }
            if (!Exists(prefix) && MakeOne(prefix, mode) != 0) {
                return -1;
            }
        }
        prefix[i] = path[i];
    }
    return 0;
}

}  // namespace

void ep_dirutils_path_transform(const char* in, char* out, std::size_t out_size) {
    if (s_execpath[0] == '\0') {
        FindExecutableDirectory();
    }
    if (in[0] == '@') {
        (void)kxe_str_snprintf(out, out_size, "%s%s", s_execpath, in + 1);
    } else {
        (void)kxe_str_snprintf(out, out_size, "%s", in);
    }
}

int epdirutils_mkdir(const char* path, int mode) {
    if (Exists(path) || MakeOne(path, mode) == 0) {
        return 0;
    }
    if (errno != ENOENT || MakeParents(path, mode) != 0) {
        return -1;
    }
    return MakeOne(path, mode);
}
