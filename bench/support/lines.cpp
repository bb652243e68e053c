#include "lines.h"

#include <poll.h>
#include <unistd.h>

#include "report.h"

namespace kxbench {

Lines::Lines() : ends_() {
    if (pipe(ends_) != 0) {
        Fail("cannot make a pipe");
    }
}

Lines::~Lines() {
    (void)close(ends_[0]);
    (void)close(ends_[1]);
}

bool Lines::HasNext() {
    while (read_.find('\n') == std::string::npos) {
        if (!ReadWithin(0)) {
            return false;
        }
    }
    return true;
}

std::string Lines::Next(int longest_wait_ms) {
    while (read_.find('\n') == std::string::npos) {
        if (!ReadWithin(longest_wait_ms)) {
            Fail("a program does not tell what it does");
        }
    }
    const std::size_t end = read_.find('\n');
    std::string line = read_.substr(0, end);
    read_.erase(0, end + 1);
    return line;
}

// False when nothing came within the time.
bool Lines::ReadWithin(int milliseconds) {
    char bytes[4096];
    pollfd waiting{ends_[0], POLLIN, 0};
    if (poll(&waiting, 1, milliseconds) != 1) {
        return false;
    }
    const ssize_t count = read(ends_[0], bytes, sizeof bytes);
    if (count > 0) {
        read_.append(bytes, static_cast<std::size_t>(count));
    }
    return count > 0;
}

}  // namespace kxbench
