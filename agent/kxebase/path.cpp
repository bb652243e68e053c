#include "path.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "kxe_base.h"

using kxebase::kPathSize;
using kxebase::TransformPath;

namespace {

// Asked anew each time: a link's text costs less than the care that a cache for each thread takes
// in a library that can be unloaded.
void ExecutableDirectory(char (&directory)[kPathSize]) {
    const ssize_t length = readlink("/proc/self/exe", directory, sizeof directory - 1);
    if (length > 0) {
        directory[length] = '\0';
        if (char* const slash = std::strrchr(directory, '/')) {
            *slash = '\0';
            return;
        }
    }
    (void)kxe_str_strlcpy(directory, "/", sizeof directory);
}

bool IsToReadOnly(const char* mode) {
    return mode[0] == 'r' && std::strchr(mode, '+') == nullptr;
}

// As fopen does, but at once: that would wait for whoever writes to a pipe of that name.
FILE* OpenToRead(const char* path, const char* mode) {
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return nullptr;
    }
    FILE* const file = fcntl(descriptor, F_SETFL, 0) == 0 ? fdopen(descriptor, mode) : nullptr;
    if (file == nullptr) {
        const int error = errno;
        (void)close(descriptor);
        errno = error;
    }
    return file;
}

}  // namespace

std::size_t kxebase::TransformPath(const char* in, char* out, std::size_t size) {
    if (in == nullptr || in[0] != '@') {
        return kxe_str_strlcpy(out, in, size);
    }
    char directory[kPathSize];
    ExecutableDirectory(directory);
    (void)kxe_str_strlcpy(out, directory, size);
    (void)kxe_str_strncat(out, in + 1, size);
    return std::strlen(directory) + std::strlen(in + 1);
}

void kxe_dirutils_path_transform(const char* in, char* out, size_t size) {
    (void)TransformPath(in, out, size);
}

void dirutils_path_transform(const char* in, char* out, size_t size) {
    (void)TransformPath(in, out, size);
}

FILE* kxe_file_open(const char* path, const char* mode) {
    char expanded[kPathSize];
    char flags[16];
    if (path == nullptr || mode == nullptr || mode[0] == '\0' ||
        kxe_str_snprintf(flags, sizeof flags, "%se", mode) >= static_cast<int>(sizeof flags)) {
        errno = EINVAL;
        return nullptr;
    }
    // A path that was cut would name another file.
    if (TransformPath(path, expanded, sizeof expanded) >= sizeof expanded) {
        errno = ENAMETOOLONG;
        return nullptr;
    }
    return IsToReadOnly(mode) ? OpenToRead(expanded, mode) : std::fopen(expanded, flags);
}

int IsCNAPPAgent(void) {
    char marker[kPathSize];
    return TransformPath("@/../config/cnapp", marker, sizeof marker) < sizeof marker &&
                   access(marker, F_OK) == 0
               ? 1
               : 0;
}
