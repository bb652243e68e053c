#include "common/complain.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

#include "common/text.h"

namespace kxapp {

void Complain(const char* format, ...) {
    char* message = nullptr;
    va_list arguments;
    va_start(arguments, format);
    const int length = vasprintf(&message, format, arguments);
    va_end(arguments);
    if (length < 0) {
        return;
    }
    const std::string line = std::string(program_invocation_short_name) + ": " +
                             Printable({message, static_cast<std::size_t>(length)}) + "\n";
    std::free(message);
    // One write, so that the lines of several programs on one terminal do not mix.
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
}

bool WriteOut(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() &&
        std::fflush(stdout) == 0) {
        return true;
    }
    Complain("cannot write to standard output: %s", std::strerror(errno));
    return false;
}

}  // namespace kxapp
