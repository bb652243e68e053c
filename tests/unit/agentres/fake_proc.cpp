#include "fake_proc.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "collectors/procfile.h"

FakeProc& Proc() {
    static FakeProc proc;
    return proc;
}

namespace {

File FileWith(const std::string& text) {
    File file(std::tmpfile());
    if (file == nullptr || std::fwrite(text.data(), 1, text.size(), file.get()) != text.size()) {
        std::perror("writing a fake file");
        std::abort();
    }
    std::rewind(file.get());
    return file;
}

}  // namespace

// In front of the reader that opens the real files.
File OpenForReading(const char* path) {
    Proc().events.push_back(std::string("open ") + path);
    auto& texts = std::string_view(path) == "/proc/stat" ? Proc().stat : Proc().meminfo;
    if (texts.empty()) {
        errno = Proc().open_error;
        return nullptr;
    }
    const std::string text = texts.front();
    texts.erase(texts.begin());
    return FileWith(text);
}

// In front of the C library's.
extern "C" unsigned sleep(unsigned seconds) {
    Proc().events.push_back("sleep " + std::to_string(seconds));
    return 0;
}
