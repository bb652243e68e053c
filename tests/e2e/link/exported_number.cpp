#include "exported_number.h"

#include <dlfcn.h>
#include <sys/uio.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>

namespace kxtest {
namespace {

struct CloseLibrary {
    void operator()(void* library) const { (void)dlclose(library); }
};

// From the beginning of the library, the same in every process.
std::optional<uintptr_t> OffsetOf(const char* name, const std::filesystem::path& library) {
    const std::unique_ptr<void, CloseLibrary> opened(
        dlopen(library.c_str(), RTLD_LAZY | RTLD_LOCAL));
    void* const symbol = opened == nullptr ? nullptr : dlsym(opened.get(), name);
    Dl_info found = {};
    if (symbol == nullptr || dladdr(symbol, &found) == 0) {
        return std::nullopt;
    }
    return reinterpret_cast<uintptr_t>(symbol) - reinterpret_cast<uintptr_t>(found.dli_fbase);
}

// proc(5): "START-END RIGHTS OFFSET DEVICE INODE PATH", ascending.
std::optional<uintptr_t> BeginningOf(const std::filesystem::path& library, pid_t process) {
    const std::filesystem::path file = std::filesystem::canonical(library);
    std::ifstream maps("/proc/" + std::to_string(process) + "/maps");
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::string range, rights, offset, device, inode, path;
        fields >> range >> rights >> offset >> device >> inode >> path;
        if (path == file) {
            return std::stoull(range, nullptr, 16);
        }
    }
    return std::nullopt;
}

}  // namespace

std::optional<uint32_t> ExportedNumber(pid_t process, const std::filesystem::path& library,
                                       const char* name) {
    const auto offset = OffsetOf(name, library);
    const auto beginning = BeginningOf(library, process);
    if (!offset || !beginning) {
        return std::nullopt;
    }
    uint32_t number = 0;
    const iovec here = {&number, sizeof number};
    const iovec there = {reinterpret_cast<void*>(*beginning + *offset), sizeof number};
    if (process_vm_readv(process, &here, 1, &there, 1, 0) != sizeof number) {
        return std::nullopt;
    }
    return number;
}

}  // namespace kxtest
