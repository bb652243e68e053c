// Reading a whole file.
#ifndef KX_APPS_KXECTL_INPUT_H
#define KX_APPS_KXECTL_INPUT_H

#include <cstddef>
#include <optional>
#include <string>

namespace kxectl {

// The largest message that the bus carries.
inline constexpr std::size_t kMostInputBytes = std::size_t{16} * 1024 * 1024;

// The content of a file, of standard input for "-". Nothing, after a complaint, when it cannot be
// read or is larger than kMostInputBytes.
std::optional<std::string> ReadInput(const std::string& path);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_INPUT_H
