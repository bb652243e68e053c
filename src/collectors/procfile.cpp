#include "collectors/procfile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

File OpenForReading(const char* path) {
    // Files do not know O_NONBLOCK; a pipe would keep the worker until somebody writes to it.
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0) {
        return nullptr;
    }
    File file(fdopen(descriptor, "r"));
    if (file == nullptr) {
        const int error = errno;
        (void)close(descriptor);
        errno = error;
    }
    return file;
}
