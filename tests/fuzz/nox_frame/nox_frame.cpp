// Decodes any bytes as a connection of the bus does, in pieces whose size the first byte chooses:
// fed from a buffer, or put straight into the payload's place. Whatever the pieces, the frames must
// be those that the bytes hold when they are looked at as a whole, and each must encode to the
// bytes it came from.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>
#include <vector>

#include "nox_frame.h"

namespace {

using noxipc::Frame;
using noxipc::FrameDecoder;
using Result = noxipc::FrameDecoder::Result;

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

struct Decoded {
    std::string bytes;  // of all frames, encoded again
    std::size_t frames = 0;
    bool malformed = false;
};

// Keeps the frame; false after a malformed one.
bool Take(Result result, const Frame& frame, Decoded* decoded) {
    Require(result != Result::kNoMemory);
    if (result == Result::kFrame) {
        Require(frame.header.length <= noxipc::kMaxPayload);
        Require(frame.payload.get()[frame.header.length] == '\0');
        Require(reinterpret_cast<std::uintptr_t>(frame.payload.get()) % 8 == 0);
        const auto header = noxipc::Encode(frame.header);
        decoded->bytes.append(header.data(), header.size());
        decoded->bytes.append(frame.payload.get(), frame.header.length);
        ++decoded->frames;
    }
    decoded->malformed = result == Result::kMalformed;
    return !decoded->malformed;
}

// The next piece, as it would be read: straight into place when the decoder offers one.
bool Read(FrameDecoder* decoder, std::span<const char> piece, Decoded* decoded) {
    while (!piece.empty()) {
        Frame frame;
        const std::span<char> space = decoder->Space();
        Result result = Result::kNeedMore;
        if (space.empty()) {
            result = decoder->Feed(&piece, &frame);
        } else {
            const std::size_t size = std::min(space.size(), piece.size());
            std::memcpy(space.data(), piece.data(), size);
            piece = piece.subspan(size);
            result = decoder->Filled(size, &frame);
        }
        if (!Take(result, frame, decoded)) {
            return false;
        }
    }
    return true;
}

Decoded Decode(std::span<const char> bytes, std::size_t piece_size) {
    FrameDecoder decoder;
    Decoded decoded;
    while (!bytes.empty()) {
        const std::size_t size = std::min(piece_size, bytes.size());
        if (!Read(&decoder, bytes.first(size), &decoded)) {
            break;
        }
        bytes = bytes.subspan(size);
    }
    return decoded;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::span<const char> bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const Decoded whole = Decode(bytes, bytes.size());
    const Decoded pieces = Decode(bytes, std::size_t{data[0]} + 1);
    Require(whole.bytes == pieces.bytes && whole.frames == pieces.frames);
    Require(whole.malformed == pieces.malformed);
    Require(whole.bytes.size() <= bytes.size());
    Require(std::equal(whole.bytes.begin(), whole.bytes.end(), bytes.begin()));
    return 0;
}
