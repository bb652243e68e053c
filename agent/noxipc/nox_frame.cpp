#include "nox_frame.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "name.h"

namespace noxipc {
namespace {

constexpr char kMagic[] = {'n', 'x', 'i', 'p'};
constexpr uint8_t kVersion = 1;

enum Offset : std::size_t { kAtVersion = 4, kAtKind = 5, kAtType = 8, kAtId = 12, kAtLength = 16 };

// The first piece of payload memory. Most payloads need no other, and memory that nothing has been
// written to costs next to nothing.
constexpr std::size_t kFirstCapacity = std::size_t{1} << 20U;

// A longer payload gets memory of the system's. The C library would learn from it to keep that much
// for the next one, which may never come.
constexpr std::size_t kMostFromHeap = std::size_t{2} << 20U;

// A rest shorter than this comes faster together with what follows it.
constexpr std::size_t kMinSpace = std::size_t{32} << 10U;

void PutNumber(uint32_t number, char* out) {
    for (unsigned byte = 0; byte < 4; ++byte) {
        out[byte] = static_cast<char>(number >> (8 * byte));
    }
}

uint32_t GetNumber(const char* in) {
    uint32_t number = 0;
    for (unsigned byte = 0; byte < 4; ++byte) {
        number |= uint32_t{static_cast<uint8_t>(in[byte])} << (8 * byte);
    }
    return number;
}

bool LengthFits(const FrameHeader& header) {
    if (header.kind == Kind::kHello) {
        return header.length >= 1 && header.length <= kMaxNameLength;
    }
    return header.length <= kMaxPayload;
}

bool IdFits(const FrameHeader& header) {
    const bool has_id = header.kind == Kind::kRequest || header.kind == Kind::kResponse;
    return has_id || header.id == 0;
}

using Bytes = std::unique_ptr<char, FreeBytes>;

Bytes Mapped(void* memory, std::size_t size) {
    return memory == MAP_FAILED ? Bytes() : Bytes(static_cast<char*>(memory), FreeBytes{size});
}

// Gives `bytes`, of which `have` are in use, room for `size`. False without memory; they are as
// they were then.
bool Resize(Bytes& bytes, std::size_t have, std::size_t size) {
    Bytes grown;
    const std::size_t mapped = bytes.get_deleter().mapped;
    if (size <= kMostFromHeap) {
        grown.reset(static_cast<char*>(std::realloc(bytes.get(), size)));
    } else if (mapped > 0) {
        grown = Mapped(mremap(bytes.get(), mapped, size, MREMAP_MAYMOVE), size);
    } else {
        grown = Mapped(
            mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), size);
        if (grown != nullptr) {
            std::copy_n(bytes.get(), have, grown.get());
            bytes.reset();
        }
    }
    if (grown == nullptr) {
        return false;
    }
    (void)bytes.release();  // what it was has been freed, or has become the new one
    bytes = std::move(grown);
    return true;
}

}  // namespace

void FreeBytes::operator()(char* bytes) const {
    if (mapped > 0) {
        (void)munmap(bytes, mapped);
    } else {
        std::free(bytes);
    }
}

HeaderBytes Encode(const FrameHeader& header) {
    HeaderBytes bytes = {};
    std::copy_n(kMagic, sizeof kMagic, bytes.data());
    bytes[kAtVersion] = static_cast<char>(kVersion);
    bytes[kAtKind] = static_cast<char>(header.kind);
    PutNumber(header.type, bytes.data() + kAtType);
    PutNumber(header.id, bytes.data() + kAtId);
    PutNumber(header.length, bytes.data() + kAtLength);
    return bytes;
}

bool FrameDecoder::ParseHeader() {
    const auto kind = static_cast<uint8_t>(header_bytes_[kAtKind]);
    if (kind < static_cast<uint8_t>(Kind::kHello) || kind > static_cast<uint8_t>(Kind::kMessage)) {
        return false;
    }
    header_.kind = static_cast<Kind>(kind);
    header_.type = GetNumber(header_bytes_.data() + kAtType);
    header_.id = GetNumber(header_bytes_.data() + kAtId);
    header_.length = GetNumber(header_bytes_.data() + kAtLength);
    // Encoding it again gives the same bytes unless magic, version or a reserved byte is wrong.
    return Encode(header_) == header_bytes_ && LengthFits(header_) && IdFits(header_) &&
           (header_.kind != Kind::kHello || header_.type == 0);
}

// Makes room for more of the payload: doubled each time, so that copying stays cheap, and never
// beyond what the header declares.
bool FrameDecoder::Grow() {
    const std::size_t wanted =
        std::min<std::size_t>(header_.length, std::max(kFirstCapacity, 2 * payload_have_));
    if (!Resize(payload_, payload_have_, wanted + 1)) {
        return false;
    }
    capacity_ = wanted;
    return true;
}

FrameDecoder::Result FrameDecoder::FinishIfComplete(Frame* frame) {
    if (header_have_ < kHeaderSize || PayloadMissing() > 0) {
        return Result::kNeedMore;
    }
    payload_.get()[payload_have_] = '\0';
    frame->header = header_;
    frame->payload = std::move(payload_);
    header_have_ = 0;
    payload_have_ = 0;
    capacity_ = 0;
    return Result::kFrame;
}

FrameDecoder::Result FrameDecoder::Feed(std::span<const char>* bytes, Frame* frame) {
    if (header_have_ < kHeaderSize) {
        const std::size_t taken = std::min(kHeaderSize - header_have_, bytes->size());
        std::copy_n(bytes->data(), taken, header_bytes_.data() + header_have_);
        header_have_ += taken;
        *bytes = bytes->subspan(taken);
        if (header_have_ < kHeaderSize) {
            return Result::kNeedMore;
        }
        if (!ParseHeader()) {
            return Result::kMalformed;
        }
        if (!Grow()) {
            return Result::kNoMemory;
        }
    }
    while (!bytes->empty() && PayloadMissing() > 0) {
        if (payload_have_ == capacity_ && !Grow()) {
            return Result::kNoMemory;
        }
        const std::size_t taken = std::min(capacity_ - payload_have_, bytes->size());
        std::memcpy(payload_.get() + payload_have_, bytes->data(), taken);
        payload_have_ += taken;
        *bytes = bytes->subspan(taken);
    }
    return FinishIfComplete(frame);
}

std::span<char> FrameDecoder::Space() {
    if (header_have_ < kHeaderSize || PayloadMissing() < kMinSpace) {
        return {};
    }
    if (payload_have_ == capacity_ && !Grow()) {
        return {};
    }
    return {payload_.get() + payload_have_, capacity_ - payload_have_};
}

FrameDecoder::Result FrameDecoder::Filled(std::size_t size, Frame* frame) {
    payload_have_ += size;
    return FinishIfComplete(frame);
}

}  // namespace noxipc
