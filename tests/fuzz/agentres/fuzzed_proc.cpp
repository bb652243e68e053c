#include "fuzzed_proc.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

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
