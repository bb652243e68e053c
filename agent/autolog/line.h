// The text of one log line.
#ifndef AUTOLOG_LINE_H
#define AUTOLOG_LINE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace autolog {

// Longest text of a line, in bytes, without time, level, ids and newline.
inline constexpr std::size_t kMostText = 8192;

// Stands at the end of a text that was longer.
inline constexpr std::string_view kCutMark = "...[cut]";

// `text` as one line of valid UTF-8 of at most kMostText bytes: one trailing newline is dropped;
// control characters (C0, DEL, C1), the line and paragraph separators of Unicode and bytes that are
// no UTF-8 are written as \xNN, a byte each; what does not fit is replaced by kCutMark. With `cut`
// the text is already the beginning of a longer one and gets the mark in any case.
std::string OneLine(std::string_view text, bool cut);

}  // namespace autolog

#endif  // AUTOLOG_LINE_H
