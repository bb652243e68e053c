// What a process has open, as /proc tells it.
#ifndef KXEPINFO_TESTS_SUPPORT_OPEN_FILES_H
#define KXEPINFO_TESTS_SUPPORT_OPEN_FILES_H

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <string>
#include <system_error>

namespace kxtest {

// 0 for a directory that cannot be read, such as that of a process that has ended.
inline std::size_t EntryCount(const std::filesystem::path& directory) {
    std::error_code ignored;
    const std::filesystem::directory_iterator entries(directory, ignored);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

// Of this process; the one that reads the directory is always among them.
inline std::size_t OpenDescriptors() {
    return EntryCount("/proc/self/fd");
}

// The descriptor under which this process has the file open, or -1.
inline int DescriptorOf(const std::filesystem::path& file) {
    std::error_code gone;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        if (std::filesystem::read_symlink(entry.path(), gone) == file) {
            return std::stoi(entry.path().filename());
        }
    }
    return -1;
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_OPEN_FILES_H
