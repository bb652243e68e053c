// What travels over a connection of the bus: frames, one after the other.
//
// A frame is a header of 24 bytes and its payload. Numbers are little-endian.
//
//   offset  size  field
//        0     4  magic: the bytes "nxip"
//        4     1  version: 1
//        5     1  kind: 1 hello, 2 request, 3 response, 4 message
//        6     2  0
//        8     4  type: what the payload is, the sender's business; 0 in a hello
//       12     4  id: of a request, chosen by who makes it; in a response the request's; else 0
//       16     4  payload length in bytes, at most 16 MiB
//       20     4  0
//
// Who connects sends a hello first, with its own name (1 to 64 bytes) as the payload, then requests
// and messages. Who listens sends nothing but responses. Anything else is malformed, and after a
// malformed frame nothing can be trusted to be the start of the next one.
#ifndef NOXIPC_NOX_FRAME_H
#define NOXIPC_NOX_FRAME_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

namespace noxipc {

inline constexpr std::size_t kHeaderSize = 24;
inline constexpr std::size_t kMaxPayload = std::size_t{16} << 20U;

enum class Kind : uint8_t { kHello = 1, kRequest = 2, kResponse = 3, kMessage = 4 };

struct FrameHeader {
    Kind kind = Kind::kMessage;
    uint32_t type = 0;
    uint32_t id = 0;
    uint32_t length = 0;
    bool operator==(const FrameHeader&) const = default;
};

using HeaderBytes = std::array<char, kHeaderSize>;

HeaderBytes Encode(const FrameHeader& header);

struct FreeBytes {
    std::size_t mapped = 0;  // the size of memory that is the system's and not the C library's

    void operator()(char* bytes) const;
};

struct Frame {
    FrameHeader header;
    // header.length bytes and one zero byte, aligned for every type.
    std::unique_ptr<char, FreeBytes> payload;
};

// Turns bytes into frames as they come, in pieces of any size. Does no I/O. It allocates no more
// than twice the bytes it has got plus 1 MiB, whatever length a header declares. The memory of a
// long payload goes back to the system with it.
class FrameDecoder {
  public:
    enum class Result {
        kNeedMore,   // all bytes are used up; no frame is complete
        kFrame,      // *frame is the next frame; there may be bytes left for another
        kMalformed,  // not a frame; the decoder must not be used any more
        kNoMemory,   // no memory for the payload; the decoder must not be used any more
    };

    // Takes bytes from the front of `bytes`, which is shortened by what was taken.
    Result Feed(std::span<const char>* bytes, Frame* frame);

    // Where the payload of an unfinished frame goes on: bytes may be put there directly instead of
    // being fed. Empty when no payload is expected, or too little of one to be worth it, or memory
    // has run out. Never longer than the rest of the payload; valid until the next other call.
    std::span<char> Space();

    // The first `size` bytes of what Space returned have been filled.
    Result Filled(std::size_t size, Frame* frame);

    // Whether a frame has begun and not ended.
    bool InFrame() const { return header_have_ != 0; }

  private:
    bool ParseHeader();
    bool Grow();
    std::size_t PayloadMissing() const { return header_.length - payload_have_; }
    Result FinishIfComplete(Frame* frame);

    HeaderBytes header_bytes_ = {};
    std::size_t header_have_ = 0;
    FrameHeader header_;
    std::unique_ptr<char, FreeBytes> payload_;
    std::size_t capacity_ = 0;  // of payload_, the zero byte not counted
    std::size_t payload_have_ = 0;
};

}  // namespace noxipc

#endif  // NOXIPC_NOX_FRAME_H
