#include "ipc/frame.h"

#include <arpa/inet.h>

#include <cstring>

namespace {

constexpr char kMagic[] = {'3', '2', '0', '0'};
constexpr unsigned kReserved1At = 4;
constexpr unsigned kReserved2At = 6;
constexpr unsigned kTypeAt = 8;
constexpr unsigned kLengthAt = 16;

uint16_t Convert16(char* at) {
    uint16_t value = 0;
    std::memcpy(&value, at, sizeof value);
    value = ntohs(value);
    std::memcpy(at, &value, sizeof value);
    return value;
}

uint32_t Convert32(char* at) {
    uint32_t value = 0;
    std::memcpy(&value, at, sizeof value);
    value = ntohl(value);
    std::memcpy(at, &value, sizeof value);
    return value;
}

}  // namespace

void WriteFrameHeader(char* header, uint32_t payload_length) {
    const uint16_t type = htons(kPayloadProtobuf);
    const uint32_t length = htonl(payload_length);
    std::memset(header, 0, kFrameHeaderSize);
    std::memcpy(header, kMagic, sizeof kMagic);
    std::memcpy(header + kTypeAt, &type, sizeof type);
    std::memcpy(header + kLengthAt, &length, sizeof length);
}

FrameHeader ConvertFrameHeader(char* header) {
    (void)Convert16(header + kReserved1At);
    (void)Convert16(header + kReserved2At);
    const uint16_t type = Convert16(header + kTypeAt);
    const uint32_t length = Convert32(header + kLengthAt);
    return {type, length};
}

bool IsFrameSize(unsigned len) {
    return len >= kFrameHeaderSize && len <= kMaxFrameSize;
}

bool HoldsPayload(const FrameHeader& header, unsigned len) {
    return uint64_t{header.payload_length} + kFrameHeaderSize <= len;
}
