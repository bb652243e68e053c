// Paths of the installation and the directories in it.
#ifndef KXEPINFO_COMMON_PATH_H
#define KXEPINFO_COMMON_PATH_H

#include <cstddef>

// Size of the buffer in which most "@" paths are expanded, in bytes.
inline constexpr std::size_t kPathSize = 4096;

// Writes `in` to `out`, a leading '@' replaced by the directory of the running executable (of the
// host, not of this library) without a trailing slash; "/" stands for it when /proc/self/exe cannot
// be read. Text longer than out_size - 1 bytes is cut. The directory is looked up once a thread.
void ep_dirutils_path_transform(const char* in, char* out, std::size_t out_size);

// Creates a directory and its missing parents, all with `mode`. '/' and '\' both separate. Returns
// 0 when it was created or something of that name exists, -1 otherwise with errno set.
int epdirutils_mkdir(const char* path, int mode);

#endif  // KXEPINFO_COMMON_PATH_H
