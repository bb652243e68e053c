#include "commands.h"

#include <cstdio>

#include "report.h"

namespace kxbench {
namespace {

void Run(const std::string& command) {
    std::FILE* const output = popen(command.c_str(), "re");
    if (output == nullptr) {
        Fail("cannot start " + command);
    }
    char text[128];
    const std::size_t length = std::fread(text, 1, sizeof text, output);
    if (pclose(output) != 0 || length == 0) {
        Fail("failed: " + command);
    }
}

}  // namespace

void RunSystemCommands(const std::string& programs) {
    Run("/bin/bash " + programs + "/resmon_export.sh get_linux_dist_ver");
    Run("getconf LONG_BIT");
}

}  // namespace kxbench
