// A tracing SDK that keeps what it is given. tests/unit/trace/CMakeLists.txt links it several
// times, once whole and once without each of its functions.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "sdk_calls.h"

#pragma GCC visibility push(default)
extern "C" {

extern SdkCalls fake_sdk_calls;
SdkCalls fake_sdk_calls;

int fake_sdk_owner(void);
int kxe_bp_init(void);
void kxe_bp_uninit(void);
int kxe_bp_trace(const void* header, const char* format, ...);
int kxe_bp_trace_unicode(const void* header, const char* format, ...);
int kxe_bp_trace_utf8(const void* header, const char* format, ...);
int kxe_bp_other(int code, const void* data, unsigned len);

int fake_sdk_owner(void) {
    return 1;
}

// The module ignores what these return.
int kxe_bp_init(void) {
    ++fake_sdk_calls.inits;
    fake_sdk_calls.owner = fake_sdk_owner();
    return -1;
}

void kxe_bp_uninit(void) {
    ++fake_sdk_calls.uninits;
}

int kxe_bp_trace_utf8(const void* header, const char* format, ...) {
    ++fake_sdk_calls.traces;
    std::memcpy(fake_sdk_calls.header, header, sizeof fake_sdk_calls.header);
    std::snprintf(fake_sdk_calls.format, sizeof fake_sdk_calls.format, "%s", format);
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(fake_sdk_calls.text, sizeof fake_sdk_calls.text, "%s", arguments);
    va_end(arguments);
    return -1;
}

int kxe_bp_trace(const void* /*header*/, const char* /*format*/, ...) {
    return ++fake_sdk_calls.others;
}

int kxe_bp_trace_unicode(const void* /*header*/, const char* /*format*/, ...) {
    return ++fake_sdk_calls.others;
}

int kxe_bp_other(int /*code*/, const void* /*data*/, unsigned /*len*/) {
    return ++fake_sdk_calls.others;
}

}  // extern "C"
#pragma GCC visibility pop
