// Numbers in text.
#ifndef KX_APPS_COMMON_NUMBER_H
#define KX_APPS_COMMON_NUMBER_H

#include <cstdint>
#include <optional>
#include <string_view>

namespace kxapp {

// The whole of `text` as an unsigned decimal number, or nothing: no sign, no blanks, no overflow.
std::optional<std::uint64_t> ReadNumber(std::string_view text);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_NUMBER_H
