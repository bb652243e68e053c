#include "log_capture.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <mutex>

#include "autolog.h"

namespace kxtest {
namespace {

std::mutex lines_mutex;
std::vector<LogLine> lines;
std::atomic<int> highest_level{4};
std::atomic<int> calls{0};

}  // namespace

std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << '{' << line.level << ", " << line.tag << ", \"" << line.text << "\"}";
}

std::vector<LogLine> LoggedLinesUpTo(int level) {
    const std::lock_guard lock(lines_mutex);
    std::vector<LogLine> chosen;
    for (const LogLine& line : lines) {
        if (line.level <= level) {
            chosen.push_back(line);
        }
    }
    return chosen;
}

std::vector<LogLine> LoggedLines() {
    return LoggedLinesUpTo(4);
}

void ClearLog() {
    const std::lock_guard lock(lines_mutex);
    lines.clear();
    calls = 0;
    highest_level = 4;
}

void EnableLogLevels(int highest) {
    highest_level = highest;
}

int LogCalls() {
    return calls;
}

}  // namespace kxtest

int error_output_check(int level) {
    return level <= kxtest::highest_level ? 1 : 0;
}

void error_output(int level, const char* tag, int /*line*/, const char* fmt, ...) {
    ++kxtest::calls;
    va_list arguments;
    va_start(arguments, fmt);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, fmt, arguments);
    va_end(arguments);
    std::string text(static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, fmt, again);
    va_end(again);
    const std::lock_guard lock(kxtest::lines_mutex);
    kxtest::lines.push_back({level, tag, text});
}
