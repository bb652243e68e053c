#include "commands.h"

#include <cstdio>

namespace kxbench {
namespace {

bool Run(const std::string& command) {
    std::FILE* const output = popen(command.c_str(), "re");
    if (output == nullptr) {
        return false;
    }
    char text[128];
    const std::size_t length = std::fread(text, 1, sizeof text, output);
    return pclose(output) == 0 && length > 0;
}

}  // namespace

bool RunSystemCommands(const std::string& programs) {
    return Run("/bin/bash " + programs + "/resmon_export.sh get_linux_dist_ver") &&
           Run("getconf LONG_BIT");
}

}  // namespace kxbench
