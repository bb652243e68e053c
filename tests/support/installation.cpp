#include "installation.h"

#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

namespace kxtest {

fs::path InstallationRoot() {
    return fs::read_symlink("/proc/self/exe").parent_path().parent_path();
}

fs::path WriteFile(const fs::path& relative, std::string_view content) {
    fs::path path = InstallationRoot() / relative;
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary | std::ios::trunc)
        .write(content.data(), static_cast<std::streamsize>(content.size()));
    return path;
}

std::string ReadFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void ClearInstallation() {
    const fs::path program = fs::read_symlink("/proc/self/exe");
    for (const auto& entry : fs::directory_iterator(InstallationRoot())) {
        if (entry.path() != program.parent_path()) {
            fs::remove_all(entry.path());
        }
    }
    for (const auto& entry : fs::directory_iterator(program.parent_path())) {
        if (entry.path() != program) {
            fs::remove_all(entry.path());
        }
    }
}

}  // namespace kxtest
