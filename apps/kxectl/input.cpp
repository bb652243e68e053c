#include "kxectl/input.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

#include "common/complain.h"

namespace kxectl {

namespace {

class Descriptor {
  public:
    explicit Descriptor(const std::string& path)
        : m_number(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)),
          m_owned(path != "-") {}
    ~Descriptor() {
        if (m_owned && m_number >= 0) {
            close(m_number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return m_number; }

  private:
    int m_number;
    bool m_owned;
};

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
    const Descriptor descriptor(path);
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
