#include "text.h"

namespace bpsdk {
namespace {

constexpr char kDigits[] = "0123456789abcdef";
constexpr std::string_view kReplacement = "\xEF\xBF\xBD";  // U+FFFD

unsigned ByteAt(std::string_view text, std::size_t at) {
    return static_cast<unsigned char>(text[at]);
}

// Length that a first byte announces; 0 when no character begins with it.
std::size_t AnnouncedLength(unsigned first) {
    if (first < 0x80) {
        return 1;
    }
    if (first >= 0xC2 && first < 0xE0) {  // 0xC0 and 0xC1 would be a longer form of ASCII
        return 2;
    }
    if (first >= 0xE0 && first < 0xF0) {
        return 3;
    }
    return first >= 0xF0 && first < 0xF5 ? 4 : 0;
}

// Whether the second byte keeps the character out of longer forms, surrogates and what is past the
// last character.
bool SecondByteFits(unsigned first, unsigned second) {
    switch (first) {
        case 0xE0:
            return second >= 0xA0;
        case 0xED:
            return second < 0xA0;
        case 0xF0:
            return second >= 0x90;
        case 0xF4:
            return second < 0x90;
        default:
            return true;
    }
}

void AppendEscaped(std::string& line, unsigned character) {
    switch (character) {
        case '"':
            line += "\\\"";
            return;
        case '\\':
            line += "\\\\";
            return;
        case '\n':
            line += "\\n";
            return;
        case '\r':
            line += "\\r";
            return;
        case '\t':
            line += "\\t";
            return;
        default:
            line += "\\u00";
            line += kDigits[character >> 4U];
            line += kDigits[character & 0xFU];
    }
}

bool NeedsEscape(unsigned character) {
    return character < 0x20 || character == 0x7F || character == '"' || character == '\\';
}

}  // namespace

std::size_t CharacterLength(std::string_view text) {
    if (text.empty()) {
        return 0;
    }
    const unsigned first = ByteAt(text, 0);
    const std::size_t length = AnnouncedLength(first);
    if (length > text.size()) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((ByteAt(text, i) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    return length < 2 || SecondByteFits(first, ByteAt(text, 1)) ? length : 0;
}

void AppendString(std::string& line, std::string_view text) {
    line += '"';
    while (!text.empty()) {
        const std::size_t length = CharacterLength(text);
        if (length == 0) {
            line += kReplacement;
        } else if (length == 1 && NeedsEscape(ByteAt(text, 0))) {
            AppendEscaped(line, ByteAt(text, 0));
        } else {
            line += text.substr(0, length);
        }
        text.remove_prefix(length == 0 ? 1 : length);
    }
    line += '"';
}

void AppendHex(std::string& line, std::string_view data) {
    line += '"';
    for (std::size_t i = 0; i < data.size(); ++i) {
        line += kDigits[ByteAt(data, i) >> 4U];
        line += kDigits[ByteAt(data, i) & 0xFU];
    }
    line += '"';
}

std::string_view Shorten(std::string_view text, std::size_t longest) {
    if (text.size() <= longest) {
        return text;
    }
    // A character has at most three bytes behind its first.
    for (std::size_t back = 0; back <= 3 && back <= longest; ++back) {
        if (CharacterLength(text.substr(longest - back)) > back) {
            return text.substr(0, longest - back);
        }
    }
    return text.substr(0, longest);
}

}  // namespace bpsdk
