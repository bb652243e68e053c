#include "peer.h"

#include <fstream>

#include "report.h"

std::string Packages::LibraryPath() const {
    return "LD_LIBRARY_PATH=" + File("usr/lib/x86_64-linux-gnu").string();
}

std::string Packages::Version(const std::string& package) const {
    std::ifstream versions(folder_ / "versions");
    for (std::string name, version; versions >> name >> version;) {
        if (name == package) {
            return version;
        }
    }
    kxbench::Fail("package " + package + " is not there");
}

std::string Packages::Write(const std::string& name, const std::string& text) const {
    const std::filesystem::path path = folder_ / name;
    if (!(std::ofstream(path) << text).flush()) {
        kxbench::Fail("cannot write " + path.string());
    }
    return path;
}
