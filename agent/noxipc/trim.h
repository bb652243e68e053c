// Text that people write, or firmware.
#ifndef NOXIPC_TRIM_H
#define NOXIPC_TRIM_H

#include <string_view>

namespace noxipc {

// Without the blanks (space, tabulator, CR, LF) at either end.
inline std::string_view Trim(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r\n";
    const auto first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos
               ? std::string_view()
               : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

}  // namespace noxipc

#endif  // NOXIPC_TRIM_H
