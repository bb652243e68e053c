#include "kxectl/input.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "common/complain.h"
#include "common/descriptor.h"

namespace kxectl {

namespace {

// Bytes read, 0 at the end, negative on failure.
ssize_t ReadSome(int descriptor, char* buffer, std::size_t size) {
    for (;;) {
        const ssize_t got = read(descriptor, buffer, size);
        if (got >= 0 || errno != EINTR) {
            return got;
        }
    }
}

std::optional<std::string> Fail(const std::string& path, const char* why) {
    kxapp::Complain("cannot read %s: %s", path == "-" ? "standard input" : path.c_str(), why);
    return std::nullopt;
}

}  // namespace

std::optional<std::string> ReadInput(const std::string& path) {
    const kxapp::Descriptor descriptor(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                                                   : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (descriptor.number() < 0) {
        return Fail(path, std::strerror(errno));
    }
    std::string content;
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t got = ReadSome(descriptor.number(), buffer.data(), buffer.size());
        if (got < 0) {
            return Fail(path, std::strerror(errno));
        }
        if (got == 0) {
            return content;
        }
        content.append(buffer.data(), static_cast<std::size_t>(got));
        if (content.size() > kMostInputBytes) {
            return Fail(path, "more than 16 MiB");
        }
    }
}

}  // namespace kxectl
