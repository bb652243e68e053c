// The packed form of this set's key/value messages, another one than ours:
//
//   "PLAIN", the length of the whole in 4 bytes, and for each entry
//   the length of the key in 2 bytes, that of the value in 4, key, value, one zero byte
//
// Numbers have the machine's byte order. A message's own name is not kept: nobody asks for it.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_MESSAGE_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_MESSAGE_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#pragma GCC visibility push(default)
namespace plain {

std::string Pack(const std::map<std::string, std::string>& entries);

// How long the message says it is, of which all is there; nothing when it is no message.
std::optional<std::size_t> PackedSize(std::string_view bytes);

// Keys and values of exactly one message, in place; nothing when a length in it does not fit or a
// key comes twice.
std::optional<std::map<std::string_view, std::string_view>> Unpack(std::string_view bytes);

}  // namespace plain
#pragma GCC visibility pop

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_MESSAGE_H
