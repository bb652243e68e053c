#include "host_id.h"

#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstring>
#include <mutex>
#include <new>

#include "descriptor.h"
#include "kxe_base.h"
#include "log.h"
#include "name_lock.h"
#include "nox_id.h"
#include "trim.h"

namespace noxipc {
namespace {

constexpr int kLockAttempts = 200;
constexpr useconds_t kLockPause = 10000;  // microseconds
constexpr char kFile[] = "agent_id";
constexpr char kNewFile[] = "agent_id.new";
constexpr char kDrawAgain[] = "recalculate_agentid";

bool IsBefore(const timespec& a, const timespec& b) {
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

std::optional<timespec> ChangedAt(int directory, const char* name) {
    struct stat status = {};
    if (fstatat(directory, name, &status, 0) != 0) {
        return std::nullopt;
    }
    return status.st_mtim;
}

std::optional<uint32_t> ReadId(int directory) {
    const Descriptor file(openat(directory, kFile, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    std::array<char, 64> text;  // longer than any number
    const ssize_t size = file.valid() ? read(file.get(), text.data(), text.size()) : -1;
    return size < 0 ? std::nullopt : ParseHostId({text.data(), static_cast<std::size_t>(size)});
}

// The id that is there and may stay.
std::optional<uint32_t> ValidId(int directory) {
    const auto id = ReadId(directory);
    const auto written = ChangedAt(directory, kFile);
    const auto asked = ChangedAt(directory, kDrawAgain);
    if (id && written && asked && IsBefore(*written, *asked)) {
        return std::nullopt;
    }
    return id;
}

// 0 when the kernel gives no random numbers.
uint32_t Draw() {
    uint32_t id = 0;
    while (id == 0) {
        if (getrandom(&id, sizeof id, 0) != sizeof id && errno != EINTR) {
            return 0;
        }
    }
    return id;
}

// Held by who draws, and for moments; a holder that hangs must not hold up the agent. The lock file
// is open to its owner alone, so no stranger can take it.
NameLock TakeLock(int directory, int* error) {
    for (int attempt = 1;; ++attempt) {
        NameLock lock = NameLock::Take(directory, kFile, error);
        if (*error != EADDRINUSE || attempt == kLockAttempts) {
            return lock;
        }
        (void)usleep(kLockPause);
    }
}

// So that the wish for a new id is fulfilled also when its file carries a time in the future.
int StampNotBefore(int file, const std::optional<timespec>& asked) {
    struct stat status = {};
    if (!asked || (fstat(file, &status) == 0 && !IsBefore(status.st_mtim, *asked))) {
        return 0;
    }
    const timespec times[] = {*asked, *asked};
    return futimens(file, times);
}

// 0 or an errno value. The caller holds the lock, so the name of the new file is nobody else's.
int Write(int directory, uint32_t id) {
    (void)unlinkat(directory, kNewFile, 0);
    const Descriptor file(
        openat(directory, kNewFile, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0640));
    if (!file.valid()) {
        return errno;
    }
    const std::string text = std::to_string(id) + '\n';
    errno = 0;  // a short write sets none
    const bool written =
        fchmod(file.get(), 0640) == 0 &&
        write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
        StampNotBefore(file.get(), ChangedAt(directory, kDrawAgain)) == 0 &&
        fsync(file.get()) == 0 && renameat(directory, kNewFile, directory, kFile) == 0;
    const int error = written ? 0 : (errno != 0 ? errno : EIO);
    if (!written) {
        (void)unlinkat(directory, kNewFile, 0);
    }
    return error;
}

uint32_t DrawLocked(int directory) {
    // Another process may have drawn while this one waited for the lock.
    if (const auto id = ValidId(directory)) {
        return *id;
    }
    const uint32_t id = Draw();
    const int error = id == 0 ? errno : Write(directory, id);
    if (error != 0) {
        NOX_LOG(kLogError, "the agent's id cannot be written: %s", std::strerror(error));
        return 0;
    }
    (void)fsync(directory);  // a crash right now costs the id, nothing else
    NOX_LOG(kLogInformation, "the agent's id is %u from now on", id);
    return id;
}

}  // namespace

std::optional<uint32_t> ParseHostId(std::string_view text) {
    text = Trim(text);
    uint32_t id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (error != std::errc() || end != text.data() + text.size() || id == 0) {
        return std::nullopt;
    }
    return id;
}

uint32_t ReadOrDrawHostId(const std::string& directory) {
    if (mkdir(directory.c_str(), 0755) != 0 && errno != EEXIST) {
        NOX_LOG(kLogError, "%s cannot be made: %s", directory.c_str(), std::strerror(errno));
        return 0;
    }
    const Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened.valid()) {
        NOX_LOG(kLogError, "%s cannot be opened: %s", directory.c_str(), std::strerror(errno));
        return 0;
    }
    if (const auto id = ValidId(opened.get())) {
        return *id;
    }
    int error = 0;
    const NameLock lock = TakeLock(opened.get(), &error);
    if (error != 0) {
        NOX_LOG(kLogError, "%s cannot be locked to draw an id: %s", directory.c_str(),
                std::strerror(error));
        return 0;
    }
    return DrawLocked(opened.get());
}

}  // namespace noxipc

uint32_t nox_get_hostid(void) {
    static constinit std::mutex mutex;
    static uint32_t known = 0;
    const std::lock_guard lock(mutex);
    if (known == 0) {
        try {
            std::array<char, PATH_MAX> directory;
            kxe_dirutils_path_transform("@/../config", directory.data(), directory.size());
            known = noxipc::ReadOrDrawHostId(directory.data());
        } catch (const std::bad_alloc&) {
            NOX_LOG(noxipc::kLogError, "no memory to read the agent's id");
        }
    }
    return known;
}
