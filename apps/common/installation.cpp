#include "common/installation.h"

#include <system_error>

namespace kxapp {

std::filesystem::path InstallationRoot() {
    std::error_code unknown;
    return std::filesystem::read_symlink("/proc/self/exe", unknown).parent_path().parent_path();
}

}  // namespace kxapp
