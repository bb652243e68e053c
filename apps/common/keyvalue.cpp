#include "common/keyvalue.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <stdexcept>

namespace kxapp {

namespace {

struct Release {
    void operator()(xmsg* message) const { xmsg_release(message); }
};
using Message = std::unique_ptr<xmsg, Release>;

bool Add(xmsg* message, std::string_view key, std::string_view value) {
    return key.size() <= std::numeric_limits<std::uint16_t>::max() &&
           value.size() <= XMSG_MAX_SIZE &&
           xmsg_add(message, key.data(), static_cast<std::uint16_t>(key.size()), value.data(),
                    static_cast<std::uint32_t>(value.size())) == 0;
}

}  // namespace

std::string PackMessage(const char* name, const Entries& entries) {
    const Message message(xmsg_new(name));
    bool complete = message != nullptr;
    for (const auto& [key, value] : entries) {
        complete = complete && Add(message.get(), key, value);
    }
    std::string packed(complete ? xmsg_pack_size(message.get()) : 0, '\0');
    if (!complete ||
        xmsg_pack(message.get(), packed.data(), static_cast<std::uint32_t>(packed.size())) <= 0) {
        throw std::runtime_error("cannot make a key/value message");
    }
    return packed;
}

UnpackedMessage::UnpackedMessage(std::string_view packed)
    : m_message(packed.size() > XMSG_MAX_SIZE
                    ? nullptr
                    : xmsg_unpack(packed.data(), static_cast<std::uint32_t>(packed.size()))) {}

std::optional<std::string_view> UnpackedMessage::find(std::string_view key) const {
    if (key.size() > std::numeric_limits<std::uint16_t>::max()) {
        return std::nullopt;
    }
    std::uint32_t length = 0;
    const char* value = xmsg_get(m_message.get(), key.data(),
                                 static_cast<std::uint16_t>(key.size()), &length, nullptr);
    if (value == nullptr) {
        return std::nullopt;
    }
    return std::string_view(value, length);
}

FoundValue FindInMessage(std::string_view packed, std::string_view key) {
    const UnpackedMessage message(packed);
    const auto value = message.find(key);
    return {message.is_message(), value ? std::optional<std::string>(*value) : std::nullopt};
}

}  // namespace kxapp
