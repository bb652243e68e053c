#include "trace/installedlibrary.h"

#include <sys/stat.h>

#include "common/path.h"

namespace {

#ifndef __has_feature
#define __has_feature(feature) 0  // Clang's way to tell; GCC defines macros
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || \
    __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
// A sanitizer ends the process at RTLD_DEEPBIND, since the library would then find the C library's
// memory functions before the sanitizer's.
constexpr int kLoadFlags = RTLD_NOW;
#else
// The host may carry symbols of the same names as the library's own.
constexpr int kLoadFlags = RTLD_NOW | RTLD_DEEPBIND;
#endif

// Of a pipe the loader would wait for whoever writes to it.
bool IsSomethingElse(const char* path) {
    struct stat status {};
    return stat(path, &status) == 0 && !S_ISREG(status.st_mode);
}

}  // namespace

void* OpenInstalledLibrary(const char* at_path) {
    char path[kPathSize] = {};
    ep_dirutils_path_transform(at_path, path, sizeof path);
    if (path[0] == '\0') {
        return nullptr;  // dlopen takes an empty name for the program itself
    }
    return IsSomethingElse(path) ? nullptr : dlopen(path, kLoadFlags);
}
