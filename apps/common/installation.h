// Where this program is installed.
#ifndef KX_APPS_COMMON_INSTALLATION_H
#define KX_APPS_COMMON_INSTALLATION_H

#include <filesystem>

namespace kxapp {

// The parent of the directory that the running program is in, "@/.." in configuration and logs.
// Empty when the kernel does not tell.
std::filesystem::path InstallationRoot();

}  // namespace kxapp

#endif  // KX_APPS_COMMON_INSTALLATION_H
