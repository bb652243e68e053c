#include <fcntl.h>
#include <limits.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <utility>

#include "file_io.h"
#include "unfinished_file.h"

namespace kxebase {
namespace {

constexpr mode_t kNewFileMode = 0644;
constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr int kMostLinks = 40;  // as many as the kernel follows

// Replaces `path` by what it leads to as long as it is a symbolic link, also where nothing is
// there.
int FollowLinks(std::string& path) {
    for (int i = 0; i < kMostLinks; ++i) {
        char target[PATH_MAX];
        const ssize_t length = readlink(path.c_str(), target, sizeof target);
        if (length < 0) {
            return errno == EINVAL || errno == ENOENT ? 0 : errno;  // no link
        }
        if (length == sizeof target) {
            return ENAMETOOLONG;
        }
        const std::string_view text(target, static_cast<std::size_t>(length));
        path = (text.starts_with('/') ? "" : DirectoryOf(path)).append(text);
    }
    return ELOOP;
}

// A new file beside `target` that goes away with its owner unless it took the target's place.
class Replacement {
  public:
    explicit Replacement(const std::string& target) : target_(target) {}
    ~Replacement() {
        if (!path_.empty()) {
            (void)unlink(path_.c_str());  // nothing else could be done about it
        }
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    // Each of these, to be called in this order, returns 0 or an errno value.
    int Create(mode_t mode);
    int TakeRightsOf(const struct stat& old);
    int Write(std::string_view content);
    int MoveInPlace();

  private:
    const std::string& target_;
    std::string path_;  // empty when there is nothing to remove
    Descriptor file_;
};

int Replacement::Create(mode_t mode) {
    std::string path;
    const int error = CreateUnfinishedFile(target_, mode, path, file_);
    if (error == 0) {
        path_ = std::move(path);
    }
    return error;
}

int Replacement::TakeRightsOf(const struct stat& old) {
    mode_t mode = old.st_mode & kPermissions;
    // Only a privileged process may give a file away; the content matters more than its owner. But
    // rights that were meant for the old group must not go to another one.
    if (fchown(file_.Get(), old.st_uid, old.st_gid) != 0 &&
        fchown(file_.Get(), static_cast<uid_t>(-1), old.st_gid) != 0) {
        mode = (mode & ~mode_t{S_IRWXG}) | ((mode & S_IRWXO) << 3U);
    }
    return fchmod(file_.Get(), mode) == 0 ? 0 : errno;
}

int Replacement::Write(std::string_view content) {
    while (!content.empty()) {
        const ssize_t length = write(file_.Get(), content.data(), content.size());
        if (length < 0 && errno != EINTR) {
            return errno;
        }
        if (length > 0) {
            content.remove_prefix(static_cast<std::size_t>(length));
        }
    }
    // Before the rename, or a crash could leave the new name with nothing behind it. The file stays
    // open, and thereby locked, until it has its new name; nothing is left that closing could lose.
    return fsync(file_.Get()) == 0 ? 0 : errno;
}

int Replacement::MoveInPlace() {
    if (rename(path_.c_str(), target_.c_str()) != 0) {
        return errno;
    }
    path_.clear();
    // From here on the new file is in place whatever happens. Without this a power failure could
    // still bring the old one back, which is no reason to call the change failed.
    const std::string directory = DirectoryOf(target_);
    const Descriptor opened(
        open(directory.empty() ? "." : directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.IsOpen()) {
        (void)fsync(opened.Get());
    }
    return 0;
}

}  // namespace

int ReplaceFile(const char* path, std::string_view content) {
    std::string target = path;
    if (const int error = FollowLinks(target); error != 0) {
        return error;
    }
    struct stat old = {};
    const bool exists = stat(target.c_str(), &old) == 0;
    if (!exists && errno != ENOENT) {
        return errno;
    }
    if (exists && !S_ISREG(old.st_mode)) {
        return S_ISDIR(old.st_mode) ? EISDIR : EINVAL;
    }
    RemoveLeftUnfinishedFiles(target);
    Replacement replacement(target);
    int error = replacement.Create(exists ? S_IRUSR | S_IWUSR : kNewFileMode);
    if (error == 0 && exists) {
        error = replacement.TakeRightsOf(old);
    }
    if (error == 0) {
        error = replacement.Write(content);
    }
    return error != 0 ? error : replacement.MoveInPlace();
}

}  // namespace kxebase
