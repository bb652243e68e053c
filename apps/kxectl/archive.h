// An archive of small files.
#ifndef KX_APPS_KXECTL_ARCHIVE_H
#define KX_APPS_KXECTL_ARCHIVE_H

#include <ctime>
#include <string>
#include <vector>

namespace kxectl {

struct Entry {
    std::string name;  // a path in the archive; its last part has at most 100 bytes
    std::string content;
};

// The entries in a tar (POSIX ustar) compressed with gzip, each of mode 0600, of root, changed at
// `time`. Throws std::runtime_error when that cannot be made, as with a name that does not fit.
std::string TarGz(const std::vector<Entry>& entries, std::time_t time);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_ARCHIVE_H
