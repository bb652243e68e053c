// Another log library: it keeps in memory what it is told, of every level.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "autolog.h"
#include "journal.h"
#include "watch.h"

using plain::Breach;
using plain::Call;

namespace {

std::mutex mutex;
std::vector<std::string> journal;

}  // namespace

int autolog_init(const char* dir, int files) {
    Call call("autolog_init");
    if (dir == nullptr || files < 1) {
        Breach("a log without a folder or files");
    }
    return call.MustFail() ? EACCES : 0;
}

int error_output_check(int level) {
    const Call call("error_output_check", Call::Thread::kAny);
    if (level < 1 || level > 4) {
        Breach("a log level that there is not");
    }
    return 64;  // yes: any number but 0
}

void error_output(int level, const char* tag, int line, const char* fmt, ...) {
    const Call call("error_output", Call::Thread::kAny);
    char text[4096];
    va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(text, sizeof text, fmt, arguments);
    va_end(arguments);
    if (length < 0 || line < 1) {
        Breach("a line that cannot be");
        return;
    }
    const std::lock_guard lock(mutex);
    journal.push_back(std::to_string(level) + " " + tag + ": " + text);
}

namespace plain {

std::vector<std::string> Journal() {
    const std::lock_guard lock(mutex);
    return journal;
}

void ResetJournal() {
    const std::lock_guard lock(mutex);
    journal.clear();
}

}  // namespace plain
