#include "common/text.h"

#include <cstdint>

namespace kxapp {

namespace {

constexpr unsigned Byte(char character) {
    return static_cast<unsigned char>(character);
}

std::size_t LengthByFirstByte(unsigned first) {
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first <= 0xDF) {
        return 2;
    }
    if (first >= 0xE0 && first <= 0xEF) {
        return 3;
    }
    return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

// `sequence` has the length that its first byte asks for.
std::uint32_t CodePoint(std::string_view sequence) {
    constexpr unsigned kFirstByteBits[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    std::uint32_t point = Byte(sequence[0]) & kFirstByteBits[sequence.size()];
    for (const char next : sequence.substr(1)) {
        point = point << 6U | (Byte(next) & 0x3FU);
    }
    return point;
}

bool IsAllowed(std::uint32_t point, std::size_t length) {
    if (length == 3) {
        return point >= 0x800 && (point < 0xD800 || point > 0xDFFF);
    }
    return length != 4 || (point >= 0x10000 && point <= 0x10FFFF);
}

bool DisturbsATerminal(std::uint32_t point) {
    const bool control = point < 0x20 || (point >= 0x7F && point < 0xA0);
    const bool reorders = point == 0x061C || point == 0x200E || point == 0x200F ||
                          (point >= 0x2028 && point <= 0x202E) ||
                          (point >= 0x2066 && point <= 0x2069);
    return control || reorders;
}

void AppendEscaped(std::string& out, std::string_view bytes) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (const char byte : bytes) {
        out += "\\x";
        out += kDigits[Byte(byte) >> 4U];
        out += kDigits[Byte(byte) & 0xFU];
    }
}

std::string Escape(std::string_view text, bool (*escaped)(std::uint32_t point)) {
    std::string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = Utf8Length(text);
        const std::string_view sequence = text.substr(0, length == 0 ? 1 : length);
        if (length == 0 || escaped(CodePoint(sequence))) {
            AppendEscaped(out, sequence);
        } else {
            out += sequence;
        }
        text.remove_prefix(sequence.size());
    }
    return out;
}

}  // namespace

std::size_t Utf8Length(std::string_view text) {
    const std::size_t length = text.empty() ? 0 : LengthByFirstByte(Byte(text[0]));
    if (length == 0 || length > text.size()) {
        return 0;
    }
    for (const char next : text.substr(1, length - 1)) {
        if ((Byte(next) & 0xC0U) != 0x80) {
            return 0;
        }
    }
    return IsAllowed(CodePoint(text.substr(0, length)), length) ? length : 0;
}

bool IsUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = Utf8Length(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string RepairUtf8(std::string_view text) {
    if (IsUtf8(text)) {
        return std::string(text);
    }
    return Escape(text, [](std::uint32_t point) { return point == '\\'; });
}

std::string Printable(std::string_view text) {
    return Escape(text, DisturbsATerminal);
}

std::string Shown(std::string_view text, std::size_t limit) {
    text = text.substr(0, text.find('\0'));
    if (text.size() <= limit) {
        return Printable(text);
    }
    // Not in the middle of a sequence: a byte 10xxxxxx continues one.
    std::size_t end = limit;
    while (end > 0 && limit - end < 3 && (Byte(text[end]) & 0xC0U) == 0x80) {
        --end;
    }
    return Printable(text.substr(0, end)) + "...";
}

}  // namespace kxapp
