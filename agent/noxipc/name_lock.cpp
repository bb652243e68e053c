#include "name_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>

namespace noxipc {
namespace {

// How often a file may vanish between being opened and being locked. Each time means that another
// instance has just left the name.
constexpr int kAttempts = 100;

// Whether the file of that name is still the one that is open. An instance that leaves removes its
// lock file, and a lock on a removed file says nothing.
bool IsStillThere(int file, int directory, const std::string& name) {
    struct stat opened = {};
    struct stat named = {};
    return fstat(file, &opened) == 0 &&
           fstatat(directory, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

}  // namespace

NameLock NameLock::Take(int directory, const std::string& name, int* error) {
    NameLock lock;
    lock.file_name_ = name + ".lock";
    lock.directory_ = directory;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        Descriptor file(openat(directory, lock.file_name_.c_str(),
                               O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
        if (!file.valid()) {
            *error = errno;
            return lock;
        }
        if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
            *error = errno == EWOULDBLOCK ? EADDRINUSE : errno;
            return lock;
        }
        if (IsStillThere(file.get(), directory, lock.file_name_)) {
            lock.file_ = std::move(file);
            *error = 0;
            return lock;
        }
    }
    *error = EADDRINUSE;
    return lock;
}

NameLock::~NameLock() {
    if (file_.valid()) {
        (void)unlinkat(directory_, file_name_.c_str(), 0);  // before the lock is free
    }
}

}  // namespace noxipc
