// The log, enabled so that every message is formatted, and written nowhere.
#include <cstdarg>
#include <cstdio>

#include "autolog.h"

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
