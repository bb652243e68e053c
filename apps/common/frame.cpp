#include "common/frame.h"

#include <algorithm>

namespace kxapp {

namespace {

constexpr std::size_t kReservedOffset = 4;
constexpr std::size_t kTypeOffset = 8;
constexpr std::size_t kSecondReservedOffset = 10;
constexpr std::size_t kLengthOffset = 16;

std::uint32_t ReadBigEndian(std::string_view bytes) {
    std::uint32_t number = 0;
    for (const char byte : bytes) {
        number = number << 8U | static_cast<unsigned char>(byte);
    }
    return number;
}

void AppendBigEndian(std::string& out, std::uint32_t number, unsigned size) {
    for (unsigned left = size; left > 0; --left) {
        out += static_cast<char>(number >> (left - 1) * 8U & 0xFFU);
    }
}

bool AllZero(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char byte) { return byte == '\0'; });
}

std::string FaultOf(std::string_view bytes) {
    if (bytes.size() < kFrameHeaderSize) {
        return "frame of " + std::to_string(bytes.size()) + " bytes, shorter than its header of " +
               std::to_string(kFrameHeaderSize);
    }
    if (!bytes.starts_with(kFrameMagic)) {
        return "frame does not begin with 3200";
    }
    if (!AllZero(bytes.substr(kReservedOffset, kTypeOffset - kReservedOffset)) ||
        !AllZero(bytes.substr(kSecondReservedOffset, kLengthOffset - kSecondReservedOffset))) {
        return "frame with a reserved byte that is not zero";
    }
    const std::uint32_t type = ReadBigEndian(bytes.substr(kTypeOffset, 2));
    if (type != kPayloadProtobuf) {
        return "frame of payload type " + std::to_string(type) + " instead of " +
               std::to_string(kPayloadProtobuf);
    }
    const std::uint32_t announced = ReadBigEndian(bytes.substr(kLengthOffset, 4));
    const std::size_t present = bytes.size() - kFrameHeaderSize;
    if (announced != present) {
        return "frame announces " + std::to_string(announced) + " bytes of payload and has " +
               std::to_string(present);
    }
    return {};
}

}  // namespace

std::optional<std::string_view> PayloadOfFrame(std::string_view bytes, std::string& fault) {
    fault = FaultOf(bytes);
    if (!fault.empty()) {
        return std::nullopt;
    }
    return bytes.substr(kFrameHeaderSize);
}

std::string MakeFrame(std::string_view payload, std::uint16_t type, std::uint32_t length) {
    std::string frame(kFrameMagic);
    frame.append(kTypeOffset - kReservedOffset, '\0');
    AppendBigEndian(frame, type, 2);
    frame.append(kLengthOffset - kSecondReservedOffset, '\0');
    AppendBigEndian(frame, length, 4);
    return frame.append(payload);
}

std::string MakeFrame(std::string_view payload) {
    return MakeFrame(payload, kPayloadProtobuf, static_cast<std::uint32_t>(payload.size()));
}

}  // namespace kxapp
