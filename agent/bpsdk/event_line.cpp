#include "event_line.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

#include "json_check.h"
#include "text.h"

namespace bpsdk {
namespace {

// The text of a field of the header, which a zero byte may end before its width.
template <std::size_t Width>
std::string_view Field(const char (&field)[Width]) {
    return {field, strnlen(field, Width)};
}

void AppendMember(std::string& line, std::string_view name, std::string_view value) {
    line += ",\"";
    line += name;
    line += "\":";
    AppendString(line, value);
}

std::string BeginLine(const timespec& time) {
    return "{\"time\":\"" + FormatTime(time) + '"';
}

void EndLine(std::string& line, bool truncated) {
    line += truncated ? ",\"truncated\":true}\n" : "}\n";
}

// JSON as it is, on one line: inside its strings there are no line ends, so each one is a blank.
void AppendJson(std::string& line, std::string_view json) {
    std::replace_copy_if(
        json.begin(), json.end(), std::back_inserter(line),
        [](char character) { return character == '\n' || character == '\r'; }, ' ');
}

}  // namespace

std::string FormatTime(const timespec& time) {
    tm parts{};
    (void)gmtime_r(&time.tv_sec, &parts);
    char seconds[64];
    const std::size_t length = std::strftime(seconds, sizeof seconds, "%Y-%m-%dT%H:%M:%S", &parts);
    char milliseconds[8];
    (void)std::snprintf(milliseconds, sizeof milliseconds, ".%03dZ",
                        static_cast<int>(time.tv_nsec / 1000000 % 1000));
    return std::string(seconds, length) + milliseconds;
}

std::string TraceLine(const timespec& time, const kxe_bp_header& header, std::string_view text) {
    std::string line = BeginLine(time);
    AppendMember(line, "module", Field(header.module));
    AppendMember(line, "event", Field(header.event));
    AppendMember(line, "product", Field(header.product));
    AppendMember(line, "version", Field(header.version));
    AppendMember(line, "host_id", Field(header.host_id));
    const bool truncated = text.size() > KXE_BP_MAX_TEXT;
    // What was cut is never JSON, even if the part that is left happens to look like it.
    if (!truncated && IsJson(text)) {
        line += ",\"body\":";
        AppendJson(line, text);
    } else {
        AppendMember(line, "message", Shorten(text, KXE_BP_MAX_TEXT));
    }
    EndLine(line, truncated);
    return line;
}

std::string OtherLine(const timespec& time, int code, std::string_view data) {
    std::string line = BeginLine(time);
    line += ",\"code\":" + std::to_string(code) + ",\"data\":";
    AppendHex(line, data.substr(0, KXE_BP_MAX_TEXT));
    EndLine(line, data.size() > KXE_BP_MAX_TEXT);
    return line;
}

}  // namespace bpsdk
