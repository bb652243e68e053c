#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>

#include "file_io.h"

namespace kxebase {
namespace {

// Reads to the end of the file or to one byte past the limit, whichever comes first: a file may
// have grown since its size was looked at.
int ReadUpTo(int file, std::size_t most, std::string& content) {
    char chunk[16384];
    while (content.size() <= most) {
        const ssize_t length = read(file, chunk, sizeof chunk);
        if (length == 0) {
            return 0;
        }
        if (length < 0 && errno != EINTR) {
            return errno;
        }
        if (length > 0) {
            content.append(chunk, static_cast<std::size_t>(length));
        }
    }
    return EFBIG;
}

int ReadOpened(const Descriptor& file, std::size_t most, std::string& content) {
    struct stat status = {};
    if (!file.IsOpen() || fstat(file.Get(), &status) != 0) {
        return errno;
    }
    if (!S_ISREG(status.st_mode)) {
        return S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    }
    // Known before anything is read, as a rule: the C library would keep the memory.
    return static_cast<std::uintmax_t>(status.st_size) > most ? EFBIG
                                                              : ReadUpTo(file.Get(), most, content);
}

}  // namespace

int ReadWholeFile(const char* path, std::size_t most, std::string& content) {
    content.clear();
    const Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    const int error = ReadOpened(file, most, content);
    if (error != 0) {
        content.clear();
    }
    return error;
}

}  // namespace kxebase
