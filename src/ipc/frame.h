// The frame header in front of every message between the module and the manager. 20 bytes, numbers
// in network byte order:
//
//   offset  size
//    0      4     "3200"
//    4      2     reserved, 0
//    6      2     reserved, 0
//    8      2     payload type: 1, Protocol Buffers
//   10      6     reserved, 0
//   16      4     payload length in bytes, without the header
//
// Reading checks neither the magic nor the reserved fields. Nothing here needs alignment.
#ifndef KXEPINFO_IPC_FRAME_H
#define KXEPINFO_IPC_FRAME_H

#include <cstdint>

inline constexpr unsigned kFrameHeaderSize = 20;
inline constexpr unsigned kMaxFrameSize = 10 * 1024 * 1024;  // of a frame to be read
inline constexpr uint16_t kPayloadProtobuf = 1;

struct FrameHeader {
    uint16_t payload_type;
    uint32_t payload_length;
};

// Writes the header for a payload of that length to 20 bytes at `header`.
void WriteFrameHeader(char* header, uint32_t payload_length);

// Converts the numbers of the 20 bytes at `header` to host byte order, in place, and returns the
// two that mean something.
FrameHeader ConvertFrameHeader(char* header);

// Whether `len` bytes may be a frame at all: a header, and no more than 10 MiB.
bool IsFrameSize(unsigned len);

// Whether a frame of `len` bytes holds the payload that its header announces.
bool HoldsPayload(const FrameHeader& header, unsigned len);

#endif  // KXEPINFO_IPC_FRAME_H
