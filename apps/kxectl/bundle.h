// What somebody who helps needs to know of an installation, in one file.
#ifndef KX_APPS_KXECTL_BUNDLE_H
#define KX_APPS_KXECTL_BUNDLE_H

#include <cstddef>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

#include "kxectl/archive.h"

namespace kxectl {

// Of a log file the end goes into the bundle, of any other file the whole or nothing.
inline constexpr std::size_t kMostOfAFile = std::size_t{1} << 20;

struct Collected {
    std::vector<Entry> entries;         // named as below the installation's root
    std::vector<std::string> left_out;  // a line each: what is not in the bundle, and why
};

// The logs, the files of configuration and those of state that the agent itself knows, without
// secrets (redact.h). Links are followed nowhere below the root, and only regular files are read.
Collected CollectFiles(const std::filesystem::path& root);

// The archive: what was collected, what was left out, and what status and doctor print, these two
// without secrets as well.
std::string PackBundle(Collected collected, const std::string& status, const std::string& doctor,
                       std::time_t time);

// Makes a file of mode 0600 that is not there yet, and is gone again when it cannot be written.
// False after a complaint.
bool WriteNewFile(const std::string& path, const std::string& content);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_BUNDLE_H
