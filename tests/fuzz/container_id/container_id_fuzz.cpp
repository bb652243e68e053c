// Looks for a container's id in any text, as if it were one of the files of a process.
#include "container_id.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void CheckIsAnIdOf(std::string_view id, std::string_view text) {
    if (id.empty()) {
        return;
    }
    Require(id.size() == kxebase::kContainerIdLength);
    Require(id.find_first_not_of("0123456789abcdef") == std::string_view::npos);
    Require(text.find(id) != std::string_view::npos);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    CheckIsAnIdOf(kxebase::ContainerIdInCgroup(text), text);
    CheckIsAnIdOf(kxebase::ContainerIdInMountinfo(text), text);
    return 0;
}
