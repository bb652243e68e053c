// Text for a JSON line. Pure functions; they throw std::bad_alloc.
#ifndef KX_BPSDK_TEXT_H
#define KX_BPSDK_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace bpsdk {

// Length in bytes of the UTF-8 character that `text` begins with; 0 when `text` is empty or begins
// with anything else (RFC 3629: no longer form than needed, no surrogates, nothing past U+10FFFF).
std::size_t CharacterLength(std::string_view text);

// Appends `text` as a JSON string with its quotes. Control characters are escaped, each byte that
// is no part of a UTF-8 character becomes U+FFFD.
void AppendString(std::string& line, std::string_view text);

// Appends two hexadecimal digits a byte, in quotes.
void AppendHex(std::string& line, std::string_view data);

// What is left of `text` when at most `longest` bytes may stay: a character is not cut in two.
std::string_view Shorten(std::string_view text, std::size_t longest);

}  // namespace bpsdk

#endif  // KX_BPSDK_TEXT_H
