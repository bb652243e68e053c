// The frame around every message between the module and the manager, seen from the manager's side:
// what the module lets pass, this side does not. Written apart from the module's own codec, so that
// each is a check of the other.
//
// 20 bytes, numbers in network byte order, then the payload:
//
//   offset  size
//    0      4     "3200"
//    4      4     reserved, 0
//    8      2     payload type: 1, Protocol Buffers
//   10      6     reserved, 0
//   16      4     payload length in bytes
#ifndef KX_APPS_COMMON_FRAME_H
#define KX_APPS_COMMON_FRAME_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kxapp {

inline constexpr std::string_view kFrameMagic = "3200";
inline constexpr std::size_t kFrameHeaderSize = 20;
inline constexpr std::uint16_t kPayloadProtobuf = 1;

// The payload of a frame without a fault, as a part of `bytes`. Otherwise nothing, and `fault` says
// in words what is wrong: too short, magic, a reserved byte that is set, payload type, or a length
// field that is not exactly the number of bytes behind the header.
std::optional<std::string_view> PayloadOfFrame(std::string_view bytes, std::string& fault);

// A frame whose header says `type` and `length`, whatever the payload is.
std::string MakeFrame(std::string_view payload, std::uint16_t type, std::uint32_t length);

// A right one. `payload` is at most 4 GiB - 1 long.
std::string MakeFrame(std::string_view payload);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_FRAME_H
