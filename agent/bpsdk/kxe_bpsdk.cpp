#include "kxe_bpsdk.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <new>
#include <string>
#include <string_view>

#include "event_line.h"
#include "trace_file.h"

namespace {

std::atomic<bool> tracing{false};

timespec Now() {
    timespec now{};
    (void)clock_gettime(CLOCK_REALTIME, &now);
    return now;
}

// One byte more than is kept tells that there was more; nothing is formatted past it.
constexpr std::size_t kTextRoom = KXE_BP_MAX_TEXT + 1;

int Trace(const kxe_bp_header* header, const char* fmt, va_list arguments) {
    if (header == nullptr || fmt == nullptr) {
        return EINVAL;
    }
    if (!tracing) {
        return EPERM;
    }
    try {
        std::string text(kTextRoom, '\0');
        // The analyzer loses sight of va_start, which every caller has called.
        // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized)
        const int length = std::vsnprintf(text.data(), text.size() + 1, fmt, arguments);
        if (length < 0) {
            return errno;
        }
        text.resize(std::min(static_cast<std::size_t>(length), kTextRoom));
        return bpsdk::AppendLine(bpsdk::TraceLine(Now(), *header, text));
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

}  // namespace

int kxe_bp_init(void) {
    tracing = true;
    try {
        return bpsdk::MakeTraceDirectory();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

void kxe_bp_uninit(void) {
    tracing = false;
}

int kxe_bp_trace(const kxe_bp_header* header, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int result = Trace(header, fmt, arguments);
    va_end(arguments);
    return result;
}

int kxe_bp_trace_unicode(const kxe_bp_header* header, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int result = Trace(header, fmt, arguments);
    va_end(arguments);
    return result;
}

int kxe_bp_trace_utf8(const kxe_bp_header* header, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int result = Trace(header, fmt, arguments);
    va_end(arguments);
    return result;
}

int kxe_bp_other(int code, const void* data, unsigned len) {
    if (data == nullptr && len > 0) {
        return EINVAL;
    }
    if (!tracing) {
        return EPERM;
    }
    try {
        const std::string_view bytes(static_cast<const char*>(data), len);
        return bpsdk::AppendLine(bpsdk::OtherLine(Now(), code, bytes));
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}
