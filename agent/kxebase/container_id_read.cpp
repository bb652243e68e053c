#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "container_id.h"
#include "file_io.h"
#include "kxe_base.h"

namespace {

// A mount table longer than this is read so far; the runtime's own mounts stand at its beginning.
constexpr std::size_t kMostRead = std::size_t{1} << 20;

// The text of /proc/PID/`name`, empty when it cannot be read. A pipe in the file's place is not
// waited for.
std::string ReadProcess(pid_t pid, const char* name) {
    const std::string path = "/proc/" + std::to_string(pid) + "/" + name;
    const kxebase::Descriptor file(
        open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    std::string text;
    char chunk[4096];
    while (file.IsOpen() && text.size() < kMostRead) {
        const ssize_t length = read(file.Get(), chunk, sizeof chunk);
        if (length > 0) {
            text.append(chunk, static_cast<std::size_t>(length));
        } else if (length == 0 || errno != EINTR) {
            break;
        }
    }
    return text;
}

bool Copy(std::string_view id, char* buf) {
    if (id.empty()) {
        return false;
    }
    std::memcpy(buf, id.data(), id.size());
    buf[id.size()] = '\0';
    return true;
}

}  // namespace

int read_container_id(pid_t pid, char* buf, size_t size) {
    if (buf == nullptr || size == 0) {
        return -1;
    }
    buf[0] = '\0';
    if (pid <= 0 || size <= kxebase::kContainerIdLength) {
        return -1;
    }
    try {
        return Copy(kxebase::ContainerIdInCgroup(ReadProcess(pid, "cgroup")), buf) ||
                       Copy(kxebase::ContainerIdInMountinfo(ReadProcess(pid, "mountinfo")), buf)
                   ? 0
                   : -1;
    } catch (...) {  // no memory
        return -1;
    }
}
