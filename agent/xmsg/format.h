// The packed form of a message, described in xmsg.h: its numbers, and reading it from bytes that
// nobody vouches for. Pure functions, no allocation but the result's.
#ifndef KX_XMSG_FORMAT_H
#define KX_XMSG_FORMAT_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace xmsg_format {

inline constexpr std::string_view kMagic = "KXMS";
inline constexpr std::uint16_t kVersion = 1;

inline constexpr std::uint32_t kVersionOffset = 4;
inline constexpr std::uint32_t kNameLengthOffset = 6;
inline constexpr std::uint32_t kTotalOffset = 8;
inline constexpr std::uint32_t kCountOffset = 12;
inline constexpr std::uint32_t kHeaderSize = 16;

inline constexpr std::uint32_t kEntryHeaderSize = 6;
inline constexpr std::uint32_t kEntryValueLengthOffset = 2;
// An entry with an empty key and an empty value: its header and the zero byte.
inline constexpr std::uint32_t kSmallestEntry = kEntryHeaderSize + 1;

// Big-endian numbers at any address.
std::uint16_t ReadU16(const char* at);
std::uint32_t ReadU32(const char* at);
void WriteU16(char* at, std::uint16_t value);
void WriteU32(char* at, std::uint32_t value);

// An entry whose lengths have been checked; the views point into the message.
struct Entry {
    std::string_view key;
    std::string_view value;  // a zero byte follows
};

// The entry at `offset` of a message that ReadEntries accepted.
Entry EntryAt(const char* message, std::uint32_t offset);

// The length that the message at `data` says it has, when its header is sound and that length is at
// most `available` and XMSG_MAX_SIZE. Reads nothing but the header.
std::optional<std::uint32_t> ReadTotal(const char* data, std::uint64_t available);

// Where the entries of a message of `total` bytes begin, in their order, when all of it is sound:
// every length, every zero byte, the count and the end. Keys are not compared here. `total` is what
// ReadTotal gave for these bytes. Throws std::bad_alloc.
std::optional<std::vector<std::uint32_t>> ReadEntries(const char* message, std::uint32_t total);

}  // namespace xmsg_format

#endif  // KX_XMSG_FORMAT_H
