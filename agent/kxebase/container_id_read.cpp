#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "container_id.h"
#include "kxe_base.h"

namespace {

// A mount table longer than this is read so far; the runtime's own mounts stand at its beginning.
constexpr std::size_t kMostRead = std::size_t{1} << 20;

struct CloseFile {
    void operator()(FILE* file) const { (void)std::fclose(file); }
};

// The text of /proc/PID/`name`, empty when it cannot be read.
std::string ReadProcess(pid_t pid, const char* name) {
    const std::string path = "/proc/" + std::to_string(pid) + "/" + name;
    const std::unique_ptr<FILE, CloseFile> file(std::fopen(path.c_str(), "re"));
    std::string text;
    char chunk[4096];
    while (file != nullptr && text.size() < kMostRead) {
        const std::size_t length = std::fread(chunk, 1, sizeof chunk, file.get());
        if (length == 0) {
            break;
        }
        text.append(chunk, length);
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
