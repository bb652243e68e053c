// Facts in words, for the block that people read.
#ifndef KX_APPS_COMMON_WORDS_H
#define KX_APPS_COMMON_WORDS_H

#include <cstdint>
#include <string>
#include <string_view>

namespace kxapp {

// Text is cut behind so many bytes: as wide as the widest field of a login.
inline constexpr std::size_t kMostShownBytes = 256;

// printf into a string, cut at 127 bytes.
[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...);

// Seconds since the epoch as "2026-11-21 08:15:00" in local time. A time behind the year 9999 is
// shown as the number it is.
std::string LocalTime(std::uint64_t time);

// Agent's text for a terminal (Shown of common/text.h), up to its first zero byte.
std::string ShownText(std::string_view text);

// Appends to a list with separators, unless there is nothing to append.
void Append(std::string& list, const std::string& item, const char* separator = ", ");

// Appends "name value", the value shown, unless it is empty.
void AppendNamed(std::string& list, const char* name, const std::string& value);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_WORDS_H
