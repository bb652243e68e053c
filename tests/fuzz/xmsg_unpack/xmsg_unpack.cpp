// Unpacks any bytes as the module's conversations do: reads the keys that it knows, unpacks their
// values as nested messages with the outer length, and those of the nested ones again. What unpacks
// must also pack to the bytes it came from.
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "xmsg.h"

namespace {

struct ReleaseMessage {
    void operator()(xmsg* message) const { xmsg_release(message); }
};
using Message = std::unique_ptr<xmsg, ReleaseMessage>;

constexpr int kDeepest = 3;
constexpr std::string_view kKeys[] = {
    "",       "a",      "k",   "key", "m",       "count", "module", "online_state",
    "status", "global", "ip0", "ip1", "multi_ip"};

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void CheckPacksToTheSame(const Message& message, const char* data, std::uint32_t length) {
    std::vector<char> packed(xmsg_pack_size(message.get()));
    Require(packed.size() <= length);
    const int written =
        xmsg_pack(message.get(), packed.data(), static_cast<std::uint32_t>(packed.size()));
    Require(written == static_cast<int>(packed.size()));
    Require(std::memcmp(packed.data(), data, packed.size()) == 0);
}

void UnpackAndRead(const char* data, std::uint32_t length, int depth) {
    const Message message(xmsg_unpack(data, length));
    if (message == nullptr) {
        return;
    }
    CheckPacksToTheSame(message, data, length);
    for (const std::string_view key : kKeys) {
        std::uint32_t value_length = 0;
        std::uint32_t flags = 0;
        const char* const value =
            xmsg_get(message.get(), key.data(), static_cast<std::uint16_t>(key.size()),
                     &value_length, &flags);
        if (value == nullptr) {
            continue;
        }
        Require(value[value_length] == '\0' && std::strlen(value) <= value_length);
        if (depth < kDeepest) {
            UnpackAndRead(value, length, depth + 1);
            UnpackAndRead(value, value_length, depth + 1);
        }
    }
    const std::string_view added = "added by the fuzzer";
    Require(xmsg_add(message.get(), added.data(), static_cast<std::uint16_t>(added.size()), data,
                     length) != ENOMEM);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr std::size_t kLargest = 1U << 20U;
    if (size <= kLargest) {
        UnpackAndRead(reinterpret_cast<const char*>(data), static_cast<std::uint32_t>(size), 0);
    }
    return 0;
}
