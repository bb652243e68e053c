#include "unfinished_file.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string_view>
#include <utility>

namespace kxebase {
namespace {

constexpr std::size_t kMostOfName = 200;  // leaves a name that every file system allows
constexpr std::size_t kDigits = 16;
constexpr int kMostAttempts = 100;  // at a name that is not taken

struct CloseDirectory {
    void operator()(DIR* directory) const { (void)closedir(directory); }
};

// All but the digits, without the directory.
std::string BeginningOfNames(const std::string& target) {
    return "." + target.substr(DirectoryOf(target).size(), kMostOfName) + ".";
}

// 0 or an errno value.
int DrawDigits(std::string& digits) {
    std::uint64_t random = 0;
    if (getrandom(&random, sizeof random, 0) != static_cast<ssize_t>(sizeof random)) {
        return errno;
    }
    char text[kDigits + 1];
    (void)std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(random));
    digits = text;
    return 0;
}

bool HasNameOfUnfinished(std::string_view name, std::string_view beginning) {
    if (name.size() != beginning.size() + kDigits || !name.starts_with(beginning)) {
        return false;
    }
    name.remove_prefix(beginning.size());
    return std::all_of(name.begin(), name.end(),
                       [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
}

// False when somebody takes the new file for one that was left behind, and removes it. Where the
// file system has no locks, nobody else gets one either, so nobody removes anything.
bool Claim(const Descriptor& file) {
    struct stat status = {};
    return (flock(file.Get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) &&
           fstat(file.Get(), &status) == 0 && status.st_nlink > 0;
}

// The lock is kept until the name is gone, so that its writer, who may be just about to claim it,
// cannot do so in between.
void RemoveUnlessClaimed(int directory, const char* name) {
    const Descriptor file(
        openat(directory, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status = {};
    if (file.IsOpen() && fstat(file.Get(), &status) == 0 && S_ISREG(status.st_mode) &&
        flock(file.Get(), LOCK_EX | LOCK_NB) == 0) {
        (void)unlinkat(directory, name, 0);
    }
}

}  // namespace

std::string DirectoryOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1);
}

int CreateUnfinishedFile(const std::string& target, mode_t mode, std::string& path,
                         Descriptor& file) {
    const std::string beginning = DirectoryOf(target) + BeginningOfNames(target);
    std::string digits;
    for (int i = 0; i < kMostAttempts; ++i) {
        if (const int error = DrawDigits(digits); error != 0) {
            return error;
        }
        path = beginning + digits;
        Descriptor made(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
        if (!made.IsOpen() && errno != EEXIST) {
            return errno;
        }
        if (made.IsOpen() && Claim(made)) {
            file = std::move(made);
            return 0;
        }
    }
    return EEXIST;
}

void RemoveLeftUnfinishedFiles(const std::string& target) {
    const std::string directory = DirectoryOf(target);
    const std::unique_ptr<DIR, CloseDirectory> opened(
        opendir(directory.empty() ? "." : directory.c_str()));
    if (opened == nullptr) {
        return;
    }
    const std::string beginning = BeginningOfNames(target);
    while (const dirent* const entry = readdir(opened.get())) {
        if (HasNameOfUnfinished(entry->d_name, beginning)) {
            RemoveUnlessClaimed(dirfd(opened.get()), entry->d_name);
        }
    }
}

}  // namespace kxebase
