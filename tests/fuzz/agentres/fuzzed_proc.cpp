#include "fuzzed_proc.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "autolog.h"
#include "collectors/procfile.h"

std::deque<std::string>& FuzzedFiles() {
    static std::deque<std::string> files;
    return files;
}

File OpenForReading(const char* /*path*/) {
    if (FuzzedFiles().empty()) {
        errno = ENOENT;
        return nullptr;
    }
    static std::string content;  // outlives the file: the sampler reads one at a time
    content = FuzzedFiles().front();
    FuzzedFiles().pop_front();
    File file(fmemopen(content.data(), content.size(), "r"));
    if (file == nullptr) {
        std::perror("fmemopen");
        std::abort();
    }
    return file;
}

extern "C" unsigned sleep(unsigned /*seconds*/) {
    return 0;
}

// Enabled, so that every message is formatted; written nowhere.
int error_output_check(int /*level*/) {
    return 1;
}

void error_output(int /*level*/, const char* /*tag*/, int /*line*/, const char* fmt, ...) {
    char text[1024] = {};
    va_list arguments;
    va_start(arguments, fmt);
    (void)std::vsnprintf(text, sizeof text, fmt, arguments);
    va_end(arguments);
}
