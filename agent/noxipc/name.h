// Names of instances.
#ifndef NOXIPC_NAME_H
#define NOXIPC_NAME_H

#include <cstddef>
#include <string_view>

namespace noxipc {

inline constexpr std::size_t kMaxNameLength = 64;

// Whether an instance may be called that: 1 to 64 ASCII letters, digits, '_', '-' and '.', no dot
// in front and no two dots in a row. Such a name is a file name and never leads out of its
// directory.
bool IsValidName(std::string_view name);

}  // namespace noxipc

#endif  // NOXIPC_NAME_H
