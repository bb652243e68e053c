#include "trace_file.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <utility>

namespace bpsdk {
namespace {

constexpr mode_t kDirectoryMode = 0750;
constexpr mode_t kFileMode = 0640;

class Descriptor {
  public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    Descriptor(Descriptor&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(descriptor_, other.descriptor_);
        return *this;
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (descriptor_ >= 0) {
            (void)close(descriptor_);
        }
    }
    int get() const { return descriptor_; }
    bool IsOpen() const { return descriptor_ >= 0; }

  private:
    int descriptor_;
};

// "@/../var", empty with errno set when the executable's path cannot be read.
std::string VarDirectory() {
    char path[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
    if (length < 0) {
        return {};
    }
    const std::string program(path, static_cast<std::size_t>(length));
    return program.substr(0, program.rfind('/')) + "/../var";
}

int MakeDirectory(const std::string& path) {
    return mkdir(path.c_str(), kDirectoryMode) == 0 || errno == EEXIST ? 0 : errno;
}

std::string TraceFile() {
    const std::string var = VarDirectory();
    return var.empty() ? var : var + "/trace/events.jsonl";
}

Descriptor Open(const std::string& path) {
    const int flags = O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    return Descriptor(open(path.c_str(), flags, kFileMode));
}

Descriptor OpenInItsDirectory(const std::string& path) {
    Descriptor file = Open(path);
    if (!file.IsOpen() && errno == ENOENT) {
        if (const int failure = MakeTraceDirectory(); failure != 0) {
            errno = failure;
            return file;
        }
        file = Open(path);
    }
    return file;
}

std::int64_t SizeOf(const Descriptor& file) {
    struct stat status {};
    return fstat(file.get(), &status) == 0 ? status.st_size : 0;
}

bool IsStillAt(const Descriptor& file, const std::string& path) {
    struct stat here {};
    struct stat there {};
    return fstat(file.get(), &here) == 0 && stat(path.c_str(), &there) == 0 &&
           here.st_dev == there.st_dev && here.st_ino == there.st_ino;
}

// Puts a full file aside and opens a new one. Whoever holds the lock of the full file renames it,
// and only while it still bears the name: of two processes that see it full, the slower one must
// not rename the new file over the old one. Who does not get the lock does not wait but appends to
// the file that it has, since a stopped process must not hold up this one.
void Rotate(Descriptor& file, const std::string& path) {
    if (flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        return;
    }
    if (IsStillAt(file, path) && rename(path.c_str(), (path + ".1").c_str()) != 0) {
        return;
    }
    if (Descriptor fresh = Open(path); fresh.IsOpen()) {
        file = std::move(fresh);
    }
}

// Removes the beginning of a line that the disk had no room for, `written` bytes before this
// descriptor's position, unless somebody has appended to it. That the file is looked at and cut in
// two steps does no harm: who appends in between has no room either.
void TakeBack(const Descriptor& file, std::int64_t written) {
    const std::int64_t end = lseek(file.get(), 0, SEEK_CUR);
    if (end >= written && end == SizeOf(file)) {
        // A beginning that stays is all that comes of a failure.
        [[maybe_unused]] const int ignored = ftruncate(file.get(), end - written);
    }
}

int Write(const Descriptor& file, std::string_view line) {
    ssize_t written = -1;
    do {
        written = write(file.get(), line.data(), line.size());
    } while (written < 0 && errno == EINTR);
    if (written < 0) {
        return errno;
    }
    if (static_cast<std::size_t>(written) < line.size()) {
        TakeBack(file, written);
        return ENOSPC;
    }
    return 0;
}

}  // namespace

int MakeTraceDirectory() {
    const std::string var = VarDirectory();
    if (var.empty()) {
        return errno;
    }
    const int failure = MakeDirectory(var);
    return failure != 0 ? failure : MakeDirectory(var + "/trace");
}

int AppendLine(std::string_view line) {
    const std::string path = TraceFile();
    if (path.empty()) {
        return errno;
    }
    Descriptor file = OpenInItsDirectory(path);
    if (!file.IsOpen()) {
        return errno;
    }
    const std::int64_t size = SizeOf(file);
    if (size > 0 && size + static_cast<std::int64_t>(line.size()) > kLargestFile) {
        Rotate(file, path);
    }
    return Write(file, line);
}

}  // namespace bpsdk
