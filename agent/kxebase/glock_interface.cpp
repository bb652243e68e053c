#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <string>

#include "glock.h"
#include "kxe_glock.h"
#include "path.h"

struct kxe_glock {
    explicit kxe_glock(std::string path) : lock(std::move(path)) {}
    kxebase::GlobalLock lock;
};

namespace {

struct LockDirectory {
    const char* path;
    mode_t mode;
};

// Others than the agent's user and group must not get hold of its locks.
constexpr LockDirectory kDirectories[] = {
    {"@/../var", 0755}, {"@/../var/run", 0755}, {"@/../var/run/lock", 0750}};

// Makes what is missing of the lock directory and gives its path. 0 or an errno value.
int PrepareDirectory(std::string& directory) {
    char path[kxebase::kPathSize];
    for (const LockDirectory& part : kDirectories) {
        if (kxebase::TransformPath(part.path, path, sizeof path) >= sizeof path) {
            return ENAMETOOLONG;
        }
        if (mkdir(path, part.mode) != 0 && errno != EEXIST) {
            return errno;
        }
    }
    directory = path;
    return 0;
}

int Init(const char* name, kxe_glock** lock) {
    const std::string file = kxebase::LockFileName(name);
    if (file.empty()) {
        return name[0] == '\0' ? EINVAL : ENAMETOOLONG;
    }
    std::string directory;
    if (const int error = PrepareDirectory(directory); error != 0) {
        return error;
    }
    auto made = std::make_unique<kxe_glock>(directory + "/" + file);
    const int error = made->lock.Open();
    if (error == 0) {
        *lock = made.release();
    }
    return error;
}

}  // namespace

int kxe_glock_init(const char* name, kxe_glock** lock) {
    if (lock == nullptr) {
        return EINVAL;
    }
    *lock = nullptr;
    try {
        return name == nullptr ? EINVAL : Init(name, lock);
    } catch (...) {  // nothing but std::bad_alloc is thrown
        return ENOMEM;
    }
}

int kxe_glock_acquire_timeout(kxe_glock* lock, unsigned timeout_ms) {
    return lock == nullptr ? EINVAL : lock->lock.Acquire(timeout_ms);
}

void kxe_glock_release(kxe_glock* lock) {
    if (lock != nullptr) {
        lock->lock.Release();
    }
}

void kxe_glock_destroy(kxe_glock* lock) {
    if (lock != nullptr) {
        lock->lock.Release();
        delete lock;
    }
}
