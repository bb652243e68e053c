#include "bus_directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>

#include "kxe_base.h"
#include "log.h"

namespace noxipc {
namespace {

constexpr mode_t kPrivate = 0700;
// The sticky bit keeps one member of the group from removing the socket of another.
constexpr mode_t kForGroup = 01770;

std::string Path() {
    std::array<char, PATH_MAX> path;
    kxe_dirutils_path_transform("@/../var/run/ipc", path.data(), path.size());
    return path.data();
}

bool MakeParents(const std::string& path) {
    for (auto slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        if (mkdir(path.substr(0, slash).c_str(), 0755) != 0 && errno != EEXIST) {
            return false;
        }
    }
    return true;
}

// Only its owner and root can change it. For everybody else it is what it is.
void SetRights(const std::string& path, const AccessRule& rule) {
    struct stat before = {};
    if (stat(path.c_str(), &before) != 0 || (before.st_uid != geteuid() && geteuid() != 0)) {
        return;
    }
    const bool for_group = !rule.allowed().empty();
    const mode_t mode = for_group ? kForGroup : kPrivate;
    if (for_group && before.st_gid != rule.allowed().front() &&
        chown(path.c_str(), static_cast<uid_t>(-1), rule.allowed().front()) != 0) {
        NOX_LOG(kLogError, "%s cannot be given to group %u: %s", path.c_str(),
                rule.allowed().front(), std::strerror(errno));
    }
    if ((before.st_mode & 07777U) != mode && chmod(path.c_str(), mode) != 0) {
        NOX_LOG(kLogError, "the mode of %s cannot be set: %s", path.c_str(), std::strerror(errno));
    }
}

}  // namespace

void BusDirectory::OpenPath(int* error) {
    descriptor_ = Descriptor(open(path_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    *error = descriptor_.valid() ? 0 : errno;
}

BusDirectory BusDirectory::Open(int* error) {
    BusDirectory directory;
    directory.path_ = Path();
    directory.OpenPath(error);
    return directory;
}

BusDirectory BusDirectory::Make(const AccessRule& rule, int* error) {
    BusDirectory directory;
    directory.path_ = Path();
    if (!MakeParents(directory.path_) ||
        (mkdir(directory.path_.c_str(), kPrivate) != 0 && errno != EEXIST)) {
        *error = errno;
        return directory;
    }
    SetRights(directory.path_, rule);
    directory.OpenPath(error);
    return directory;
}

sockaddr_un BusDirectory::Address(const std::string& file) const {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::string path = path_ + '/' + file;
    if (path.size() >= sizeof address.sun_path) {
        path = "/proc/self/fd/" + std::to_string(descriptor()) + '/' + file;
    }
    // Fits: a file's name is an instance's, of 64 bytes at most, and its suffix.
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

}  // namespace noxipc
