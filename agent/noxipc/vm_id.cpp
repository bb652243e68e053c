#include "vm_id.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <string>

#include "descriptor.h"
#include "nox_id.h"
#include "trim.h"

namespace noxipc {
namespace {

constexpr std::size_t kMaxText = 256;

// Firmware that was never given a UUID shows one of nothing but zeros or nothing but f.
bool IsReal(std::string_view uuid) {
    return uuid.find_first_not_of("0-") != std::string_view::npos &&
           uuid.find_first_not_of("f-") != std::string_view::npos;
}

char ToLower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

struct Text {
    std::array<char, kMaxText> bytes;
    std::size_t size = 0;
    std::string_view view() const { return {bytes.data(), size}; }
};

// Empty when it cannot be read. A pipe in the file's place is not waited for.
Text Read(const char* path) {
    Text text;
    const Descriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    const ssize_t size = file.valid() ? read(file.get(), text.bytes.data(), text.bytes.size()) : 0;
    text.size = size > 0 ? static_cast<std::size_t>(size) : 0;
    return text;
}

}  // namespace

uint64_t Fnv1a(std::string_view text) {
    uint64_t hash = 0xcbf29ce484222325U;
    for (const char c : text) {
        hash = (hash ^ static_cast<uint8_t>(c)) * 0x100000001b3U;
    }
    return hash;
}

uint64_t VmId(std::string_view product_uuid, std::string_view machine_id) {
    const std::string_view trimmed = Trim(product_uuid).substr(0, kMaxText);
    std::array<char, kMaxText> lower;
    std::transform(trimmed.begin(), trimmed.end(), lower.begin(), ToLower);
    const std::string_view uuid(lower.data(), trimmed.size());
    if (IsReal(uuid)) {
        return Fnv1a(uuid);
    }
    const std::string_view machine = Trim(machine_id);
    return machine.empty() ? 0 : Fnv1a(machine);
}

}  // namespace noxipc

uint64_t nox_get_vmidid(void) {
    const auto uuid = noxipc::Read("/sys/class/dmi/id/product_uuid");
    const auto machine = noxipc::Read("/etc/machine-id");
    return noxipc::VmId(uuid.view(), machine.view());
}
