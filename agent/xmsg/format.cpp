#include "format.h"

#include "xmsg.h"

namespace xmsg_format {
namespace {

std::uint32_t Byte(const char* at) {
    return static_cast<unsigned char>(*at);
}

void WriteByte(char* at, std::uint32_t value) {
    *at = static_cast<char>(static_cast<unsigned char>(value & 0xFFU));
}

// The offset behind the entry at `offset`, when the entry is sound and ends by `total`.
std::optional<std::uint32_t> EndOfEntry(const char* message, std::uint64_t offset,
                                        std::uint64_t total) {
    if (total - offset < kSmallestEntry) {
        return std::nullopt;
    }
    const std::uint64_t key_length = ReadU16(message + offset);
    const std::uint64_t value_length = ReadU32(message + offset + kEntryValueLengthOffset);
    const std::uint64_t zero = offset + kEntryHeaderSize + key_length + value_length;
    if (zero >= total || message[zero] != '\0') {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(zero + 1);  // at most `total`, which has 32 bits
}

// The offset of the first entry, when the name is sound.
std::optional<std::uint32_t> EndOfName(const char* message, std::uint64_t total) {
    const std::uint32_t zero = kHeaderSize + ReadU16(message + kNameLengthOffset);
    if (zero >= total || message[zero] != '\0') {
        return std::nullopt;
    }
    return zero + 1;
}

}  // namespace

std::uint16_t ReadU16(const char* at) {
    return static_cast<std::uint16_t>(Byte(at) << 8U | Byte(at + 1));
}

std::uint32_t ReadU32(const char* at) {
    return Byte(at) << 24U | Byte(at + 1) << 16U | Byte(at + 2) << 8U | Byte(at + 3);
}

void WriteU16(char* at, std::uint16_t value) {
    WriteByte(at, static_cast<std::uint32_t>(value) >> 8U);
    WriteByte(at + 1, value);
}

void WriteU32(char* at, std::uint32_t value) {
    WriteByte(at, value >> 24U);
    WriteByte(at + 1, value >> 16U);
    WriteByte(at + 2, value >> 8U);
    WriteByte(at + 3, value);
}

Entry EntryAt(const char* message, std::uint32_t offset) {
    const std::uint16_t key_length = ReadU16(message + offset);
    const std::uint32_t value_length = ReadU32(message + offset + kEntryValueLengthOffset);
    const char* const key = message + offset + kEntryHeaderSize;
    return {{key, key_length}, {key + key_length, value_length}};
}

std::optional<std::uint32_t> ReadTotal(const char* data, std::uint64_t available) {
    if (available < kHeaderSize || std::string_view(data, kMagic.size()) != kMagic ||
        ReadU16(data + kVersionOffset) != kVersion) {
        return std::nullopt;
    }
    const std::uint32_t total = ReadU32(data + kTotalOffset);
    if (total < kHeaderSize || total > available || total > XMSG_MAX_SIZE) {
        return std::nullopt;
    }
    return total;
}

std::optional<std::vector<std::uint32_t>> ReadEntries(const char* message, std::uint32_t total) {
    const std::uint32_t count = ReadU32(message + kCountOffset);
    std::optional<std::uint32_t> offset = EndOfName(message, total);
    // The count is believed only as far as the bytes can hold it, before memory is taken for it.
    if (!offset || count > (total - *offset) / kSmallestEntry) {
        return std::nullopt;
    }
    std::vector<std::uint32_t> entries;
    entries.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        entries.push_back(*offset);
        offset = EndOfEntry(message, *offset, total);
        if (!offset) {
            return std::nullopt;
        }
    }
    if (*offset != total) {
        return std::nullopt;
    }
    return entries;
}

}  // namespace xmsg_format
