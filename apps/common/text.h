// Text that comes from somebody else. Pure functions.
#ifndef KX_APPS_COMMON_TEXT_H
#define KX_APPS_COMMON_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace kxapp {

// Length in bytes, 1 to 4, of the UTF-8 sequence (RFC 3629) that `text` begins with; 0 when it
// begins with none. Overlong forms, surrogates and values above U+10FFFF are none.
std::size_t Utf8Length(std::string_view text);

bool IsUtf8(std::string_view text);

// `text` as UTF-8. What is UTF-8 stays as it is. Otherwise each byte that belongs to no sequence,
// and each backslash, becomes the four characters \xNN, upper case, and everything else, zero bytes
// too, stays: whoever knows that a text was repaired can tell its bytes.
std::string RepairUtf8(std::string_view text);

// `text` for a terminal: bytes that are not UTF-8, control characters (C0, DEL, C1) and the
// characters that break or reorder a line (U+2028 to U+202E, U+2066 to U+2069, U+200E, U+200F,
// U+061C) become \xNN for each of their bytes. A backslash stays a backslash.
std::string Printable(std::string_view text);

// `text` up to its first zero byte, printable; "..." stands for what is behind `limit` bytes.
std::string Shown(std::string_view text, std::size_t limit = 96);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_TEXT_H
