#include "ipc/createfile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

CreatedFile::CreatedFile(CreatedFile&& other) noexcept
    : m_descriptor(std::exchange(other.m_descriptor, -1)) {}

CreatedFile& CreatedFile::operator=(CreatedFile&& other) noexcept {
    if (this != &other) {
        Close();
        m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
}

bool CreatedFile::Write(const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = write(m_descriptor, data, size);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

void CreatedFile::Close() {
    if (m_descriptor >= 0) {
        (void)close(m_descriptor);
        m_descriptor = -1;
    }
}

CreatedFile CreateOrTruncate(const char* path) {
    constexpr mode_t kMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH;
    return CreatedFile(open(path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, kMode));
}
