#include "common/number.h"

#include <charconv>

namespace kxapp {

std::optional<std::uint64_t> ReadNumber(std::string_view text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc{} || stop != end) {
        return std::nullopt;
    }
    return number;
}

}  // namespace kxapp
