#include "support.h"

#include <algorithm>

Message New(const char* name) {
    return Message(xmsg_new(name));
}

int Add(const Message& message, std::string_view key, std::string_view value) {
    return xmsg_add(message.get(), key.data(), static_cast<std::uint16_t>(key.size()), value.data(),
                    static_cast<std::uint32_t>(value.size()));
}

std::string Pack(const Message& message) {
    std::string bytes(xmsg_pack_size(message.get()), '\0');
    const int written =
        xmsg_pack(message.get(), bytes.data(), static_cast<std::uint32_t>(bytes.size()));
    return written == static_cast<int>(bytes.size()) ? bytes : std::string();
}

Message Unpack(std::string_view bytes) {
    const auto block = std::make_unique<char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block.get());
    return Message(xmsg_unpack(block.get(), static_cast<std::uint32_t>(bytes.size())));
}

std::optional<std::string> Get(const Message& message, std::string_view key) {
    std::uint32_t length = 0;
    const char* const value = xmsg_get(message.get(), key.data(),
                                       static_cast<std::uint16_t>(key.size()), &length, nullptr);
    return value == nullptr ? std::nullopt : std::optional<std::string>({value, length});
}

std::string U16(std::uint32_t value) {
    return {static_cast<char>(value >> 8U), static_cast<char>(value)};
}

std::string U32(std::uint64_t value) {
    return U16(static_cast<std::uint32_t>(value >> 16U)) + U16(static_cast<std::uint32_t>(value));
}

std::string Header(std::string_view name, std::uint64_t total, std::uint64_t count) {
    const std::string length = U16(static_cast<std::uint32_t>(name.size()));
    return "KXMS" + U16(1) + length + U32(total) + U32(count) + std::string(name) + '\0';
}

std::string Entry(std::string_view key, std::string_view value) {
    const std::string length = U16(static_cast<std::uint32_t>(key.size()));
    return length + U32(value.size()) + std::string(key) + std::string(value) + '\0';
}

std::string Packed(std::string_view name, std::uint64_t count, std::string_view entries) {
    return Header(name, 17 + name.size() + entries.size(), count) + std::string(entries);
}
