#include "glock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <thread>

namespace kxebase {
namespace {

constexpr mode_t kFileMode = 0640;
constexpr int kMostReopenings = 100;  // before the next pause
constexpr std::chrono::milliseconds kFirstPause(1);
constexpr std::chrono::milliseconds kLongestPause(50);

bool StandsForItself(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
           c == '_' || c == '.';
}

}  // namespace

std::string LockFileName(std::string_view name) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    constexpr std::string_view kEnding = ".lock";
    std::string file;
    for (const char c : name) {
        if (StandsForItself(c) && !(c == '.' && file.empty())) {
            file += c;
        } else {
            const unsigned byte = static_cast<unsigned char>(c);
            file += {'%', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
        }
        if (file.size() + kEnding.size() > NAME_MAX) {
            return {};
        }
    }
    return file.empty() ? file : file.append(kEnding);
}

int GlobalLock::Open() {
    file_ = Descriptor(open(path_.c_str(),
                            O_RDONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                            kFileMode));
    return file_.IsOpen() ? 0 : errno;
}

int GlobalLock::Acquire(unsigned timeout_ms) {
    if (held_) {
        return EDEADLK;
    }
    using Clock = std::chrono::steady_clock;
    const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(timeout_ms);
    Clock::duration pause = kFirstPause;
    int error = TryOnce();
    while (error == EWOULDBLOCK) {
        const Clock::duration left = deadline - Clock::now();
        if (left <= Clock::duration::zero()) {
            return ETIMEDOUT;
        }
        std::this_thread::sleep_for(std::min(pause, left));
        pause = std::min<Clock::duration>(pause * 2, kLongestPause);
        error = TryOnce();
    }
    held_ = error == 0;
    return error;
}

void GlobalLock::Release() {
    if (held_) {
        // Said to the kernel instead of leaving it to the closing of the file, which a child
        // process that is about to call exec may have open too. It cannot fail for a lock that is
        // held.
        (void)flock(file_.Get(), LOCK_UN);
        held_ = false;
    }
}

// Someone may have removed the file, and then whoever comes next locks another one: a lock counts
// only on the file that has the name.
int GlobalLock::TryOnce() {
    for (int i = 0; i < kMostReopenings; ++i) {
        if (!file_.IsOpen()) {
            if (const int error = Open(); error != 0) {
                return error;
            }
        }
        if (flock(file_.Get(), LOCK_EX | LOCK_NB) != 0) {
            if (errno == EINTR) {
                continue;
            }
            if (errno != EWOULDBLOCK || IsInPlace()) {
                return errno;
            }
        } else if (IsInPlace()) {
            return 0;
        }
        (void)file_.Close();  // nothing was written to it
    }
    return EWOULDBLOCK;
}

bool GlobalLock::IsInPlace() const {
    const int errno_before = errno;
    struct stat opened = {};
    struct stat named = {};
    const bool same = fstat(file_.Get(), &opened) == 0 && stat(path_.c_str(), &named) == 0 &&
                      opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
    errno = errno_before;
    return same;
}

}  // namespace kxebase
