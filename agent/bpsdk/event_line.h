// The line of an event, as kxe_bpsdk.h describes it. Pure functions; they throw std::bad_alloc.
#ifndef KX_BPSDK_EVENT_LINE_H
#define KX_BPSDK_EVENT_LINE_H

#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "kxe_bpsdk.h"

namespace bpsdk {

// "2024-05-06T07:08:09.123Z" from a time since the epoch.
std::string FormatTime(const timespec& time);

// The lines end with a newline and contain no other. Text or data that was cut by the caller is
// told by being longer than KXE_BP_MAX_TEXT: `text` may be any length, of which the beginning is
// used.
std::string TraceLine(const timespec& time, const kxe_bp_header& header, std::string_view text);
std::string OtherLine(const timespec& time, int code, std::string_view data);

}  // namespace bpsdk

#endif  // KX_BPSDK_EVENT_LINE_H
