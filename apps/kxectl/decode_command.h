// A message between the module and the manager from its bytes, as JSON.
#ifndef KX_APPS_KXECTL_DECODE_COMMAND_H
#define KX_APPS_KXECTL_DECODE_COMMAND_H

#include <optional>
#include <string>
#include <string_view>

namespace kxectl {

// What bytes can be taken for.
enum class MessageType {
    kDetect,
    kUpload,  // epinfo
    kAnswer,  // epinfo_msg_respone
};

// The message in `bytes`, which may be inside a frame, as JSON over several lines:
//   kind         "epinfo" or "epinfo_msg_respone"
//   frame        length, payload_type, payload_length; absent when there was no frame
//   message      its fields (MessageToJson of common/decode.h)
//   not_utf8     paths of strings that had to be repaired
// Bytes that begin with "3200" are a frame, since no message of either kind can begin so, and the
// frame must be without a fault. The kind is told from the fields: bytes that fit both kinds are an
// upload when the sections in it are those that its cmd names, one at least, and an answer
// otherwise; no bytes at all are an empty upload. Nothing on failure, and `fault` tells it in
// words.
std::optional<std::string> DecodeToJson(std::string_view bytes, MessageType type,
                                        std::string& fault);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_DECODE_COMMAND_H
