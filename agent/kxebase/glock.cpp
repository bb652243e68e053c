#include "glock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <ctime>

namespace kxebase {
namespace {

constexpr mode_t kFileMode = 0640;
constexpr int kMostReopenings = 100;  // before the next pause
constexpr std::int64_t kFirstPauseMs = 1;
constexpr std::int64_t kLongestPauseMs = 50;

bool StandsForItself(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '-' ||
           c == '_' || c == '.';
}

std::int64_t NowMs() {
    timespec now = {};
    (void)clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1000000;
}

void Pause(std::int64_t ms) {
    const timespec pause = {ms / 1000, ms % 1000 * 1000000};
    // A signal makes it shorter, and the caller looks at the clock.
    (void)clock_nanosleep(CLOCK_MONOTONIC, 0, &pause, nullptr);
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
    const std::int64_t deadline = NowMs() + timeout_ms;
    std::int64_t pause = kFirstPauseMs;
    int error = TryOnce();
    while (error == EWOULDBLOCK) {
        const std::int64_t left = deadline - NowMs();
        if (left <= 0) {
            return ETIMEDOUT;
        }
        Pause(std::min(pause, left));
        pause = std::min(pause * 2, kLongestPauseMs);
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
