// Paths of the installation.
#ifndef KXEBASE_PATH_H
#define KXEBASE_PATH_H

#include <cstddef>

namespace kxebase {

// Size of the buffers that a whole path fits in, in bytes.
inline constexpr std::size_t kPathSize = 4096;

// kxe_dirutils_path_transform, with the length of the whole result: `size` or more says that it was
// cut.
std::size_t TransformPath(const char* in, char* out, std::size_t size);

}  // namespace kxebase

#endif  // KXEBASE_PATH_H
