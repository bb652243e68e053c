// The header of an event as the tracing SDK reads it. The SDK is met at run time only, so the
// layout is laid down here and not taken from its header file.
#ifndef KXEPINFO_TRACE_EVENTHEADER_H
#define KXEPINFO_TRACE_EVENTHEADER_H

#include <cstddef>

// 212 bytes. Each field is text that ends at its first zero byte and is zero behind it.
struct BpEventHeader {
    char module[32];
    char event[64];
    char product[16];
    char version[16];  // of the agent
    char host_id[16];  // the agent's id in decimal digits
    char reserved[68];
};

static_assert(sizeof(BpEventHeader) == 212);
static_assert(offsetof(BpEventHeader, module) == 0);
static_assert(offsetof(BpEventHeader, event) == 32);
static_assert(offsetof(BpEventHeader, product) == 96);
static_assert(offsetof(BpEventHeader, version) == 112);
static_assert(offsetof(BpEventHeader, host_id) == 128);
static_assert(offsetof(BpEventHeader, reserved) == 144);

#endif  // KXEPINFO_TRACE_EVENTHEADER_H
