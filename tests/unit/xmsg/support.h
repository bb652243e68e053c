// Short words for the tests of the message library.
#ifndef KXEPINFO_TESTS_UNIT_XMSG_SUPPORT_H
#define KXEPINFO_TESTS_UNIT_XMSG_SUPPORT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "xmsg.h"

struct ReleaseMessage {
    void operator()(xmsg* message) const { xmsg_release(message); }
};
using Message = std::unique_ptr<xmsg, ReleaseMessage>;

Message New(const char* name);
int Add(const Message& message, std::string_view key, std::string_view value);
std::string Pack(const Message& message);

// Unpacks from a heap block of exactly these bytes, so that AddressSanitizer sees a read beyond
// them.
Message Unpack(std::string_view bytes);

// Value of a key by its length, not by its zero byte; nothing when the key is absent.
std::optional<std::string> Get(const Message& message, std::string_view key);

// The numbers of the packed form, written here by hand so that the tests do not believe the code.
std::string U16(std::uint32_t value);
std::string U32(std::uint64_t value);
std::string Header(std::string_view name, std::uint64_t total, std::uint64_t count);
std::string Entry(std::string_view key, std::string_view value);

// A sound packed message.
std::string Packed(std::string_view name, std::uint64_t count, std::string_view entries);

#endif  // KXEPINFO_TESTS_UNIT_XMSG_SUPPORT_H
