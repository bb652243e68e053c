// Another tracing SDK, with the two functions that the module calls and none of the others.
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "kxe_bpsdk.h"
#include "trace_events.h"
#include "watch.h"

using plain::Call;

namespace {

template <std::size_t size>
std::string Text(const char (&field)[size]) {
    return {field, strnlen(field, size)};
}

}  // namespace

int kxe_bp_init() {
    Call call("kxe_bp_init");
    return call.MustFail() ? EACCES : 0;
}

int kxe_bp_trace_utf8(const kxe_bp_header* header, const char* fmt, ...) {
    Call call("kxe_bp_trace_utf8");
    char text[4096];
    va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(text, sizeof text, fmt, arguments);
    va_end(arguments);
    if (length < 0 || !Text(header->reserved).empty()) {
        plain::Breach("an event that cannot be");
    }
    if (call.MustFail()) {
        return ENOSPC;
    }
    plain::AddTraceEvent({Text(header->module), Text(header->event), Text(header->product),
                          Text(header->version), Text(header->host_id), text});
    return 0;
}
