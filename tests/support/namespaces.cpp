#include "namespaces.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

namespace kxtest {

namespace {

// Leaves what a test before has entered, for the namespace that the process began in.
class FirstNamespace {
  public:
    explicit FirstNamespace(const char* file) : m_file(open(file, O_RDONLY | O_CLOEXEC)) {}
    bool Unshare(int kind) const { return setns(m_file, kind) == 0 && unshare(kind) == 0; }

  private:
    int m_file;
};

}  // namespace

bool EnterOwnNetwork() {
    static const FirstNamespace first("/proc/self/ns/net");
    return first.Unshare(CLONE_NEWNET) && Ip("link set lo up");
}

bool EnterOwnMounts() {
    static const FirstNamespace first("/proc/self/ns/mnt");
    return first.Unshare(CLONE_NEWNS) &&
           mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

bool CoverDirectory(const std::string& path) {
    return mount("tmpfs", path.c_str(), "tmpfs", 0, nullptr) == 0;
}

bool CoverFile(const std::string& path, const std::string& store, std::string_view content) {
    std::ofstream(store, std::ios::binary | std::ios::trunc) << content;
    const std::string target = std::filesystem::canonical(path);
    return mount(store.c_str(), target.c_str(), nullptr, MS_BIND, nullptr) == 0;
}

bool EnterOwnHostName(const std::string& name) {
    static const FirstNamespace first("/proc/self/ns/uts");
    return first.Unshare(CLONE_NEWUTS) && sethostname(name.data(), name.size()) == 0;
}

bool Ip(const std::string& arguments) {
    return std::system(("ip " + arguments).c_str()) == 0;
}

std::string IpOutput(const std::string& arguments) {
    const std::string command = "ip " + arguments;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> pipe(popen(command.c_str(), "re"),
                                                               pclose);
    std::string output;
    std::array<char, 4096> piece;
    for (std::size_t size = 0;
         pipe != nullptr && (size = std::fread(piece.data(), 1, piece.size(), pipe.get())) > 0;) {
        output.append(piece.data(), size);
    }
    return output;
}

}  // namespace kxtest
