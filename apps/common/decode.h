// Messages of the wire schema from bytes, and as JSON.
#ifndef KX_APPS_COMMON_DECODE_H
#define KX_APPS_COMMON_DECODE_H

#include <google/protobuf/message.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/json.h"

namespace kxapp {

inline constexpr std::size_t kMostRepairedPaths = 100;

// Decodes a whole message. The wire form promises UTF-8 in every string, and the runtime refuses a
// message that breaks the promise; but a login name is whatever bytes the machine has, so here such
// a string is repaired instead (RepairUtf8 of text.h), and its path, such as
// "login_info.usr_info[0].login_name", appended to `not_utf8`; only the first kMostRepairedPaths
// are. Zero bytes are kept.
// False when the bytes are no such message; `message` and `not_utf8` then hold nothing of use.
bool Decode(std::string_view bytes, google::protobuf::Message& message,
            std::vector<std::string>& not_utf8);

// Whether the message, or one inside it, holds a field that its type does not have: a sign that the
// bytes are of another type.
bool HasUnknownFields(const google::protobuf::Message& message);

// The message in the JSON form of Protocol Buffers, under the field names of the schema. Numbers
// and strings that are not on the wire are there with their defaults, so that the shape does not
// change from one upload to the next; sections that are absent stay absent. 64-bit numbers are
// strings.
Json MessageToJson(const google::protobuf::Message& message);

// What there is to say about the frame of `length` bytes around a message: length, payload_type,
// payload_length.
Json FrameToJson(std::size_t length);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_DECODE_H
