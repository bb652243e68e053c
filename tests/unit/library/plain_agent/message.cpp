#include "message.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr std::string_view kMagic = "PLAIN";
constexpr std::size_t kHeaderSize = kMagic.size() + sizeof(uint32_t);
constexpr std::size_t kEntryHeaderSize = sizeof(uint16_t) + sizeof(uint32_t);

template <class Number>
void Append(std::string& bytes, std::size_t value) {
    const auto number = static_cast<Number>(value);
    char raw[sizeof number];
    std::memcpy(raw, &number, sizeof number);
    bytes.append(raw, sizeof raw);
}

// There must be as many bytes.
template <class Number>
Number Read(std::string_view bytes, std::size_t at) {
    Number number = 0;
    std::memcpy(&number, bytes.data() + at, sizeof number);
    return number;
}

}  // namespace

namespace plain {

std::string Pack(const std::map<std::string, std::string>& entries) {
    std::string body;
    for (const auto& [key, value] : entries) {
        Append<uint16_t>(body, key.size());
        Append<uint32_t>(body, value.size());
        body.append(key).append(value).append(1, '\0');
    }
    std::string packed(kMagic);
    Append<uint32_t>(packed, kHeaderSize + body.size());
    return packed + body;
}

std::optional<std::size_t> PackedSize(std::string_view bytes) {
    if (bytes.size() < kHeaderSize || !bytes.starts_with(kMagic)) {
        return std::nullopt;
    }
    const std::size_t size = Read<uint32_t>(bytes, kMagic.size());
    if (size < kHeaderSize || size > bytes.size()) {
        return std::nullopt;
    }
    return size;
}

std::optional<std::map<std::string_view, std::string_view>> Unpack(std::string_view bytes) {
    if (PackedSize(bytes) != bytes.size()) {
        return std::nullopt;
    }
    std::map<std::string_view, std::string_view> entries;
    std::string_view rest = bytes.substr(kHeaderSize);
    while (!rest.empty()) {
        if (rest.size() < kEntryHeaderSize) {
            return std::nullopt;
        }
        const std::size_t key_size = Read<uint16_t>(rest, 0);
        const std::size_t value_size = Read<uint32_t>(rest, sizeof(uint16_t));
        rest.remove_prefix(kEntryHeaderSize);
        if (key_size + value_size >= rest.size() || rest[key_size + value_size] != '\0') {
            return std::nullopt;
        }
        if (!entries.emplace(rest.substr(0, key_size), rest.substr(key_size, value_size)).second) {
            return std::nullopt;
        }
        rest.remove_prefix(key_size + value_size + 1);
    }
    return entries;
}

}  // namespace plain
