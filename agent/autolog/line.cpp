#include "line.h"

namespace autolog {
namespace {

unsigned Byte(std::string_view text, std::size_t i) {
    return static_cast<unsigned char>(text[i]);
}

// Length of the sequence that this byte begins, 1 for bytes that begin none.
std::size_t ClaimedLength(unsigned lead) {
    if (lead >= 0xC2 && lead <= 0xDF) {
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return 3;
    }
    return lead >= 0xF0 && lead <= 0xF4 ? 4 : 1;
}

// The second byte's range is narrower behind these: overlong forms, surrogates, past U+10FFFF.
bool SecondFits(unsigned lead, unsigned second) {
    switch (lead) {
        case 0xE0:
            return second >= 0xA0;
        case 0xED:
            return second <= 0x9F;
        case 0xF0:
            return second >= 0x90;
        case 0xF4:
            return second <= 0x8F;
        default:
            return true;
    }
}

// Bytes of the character at the beginning of `text`, which is not empty; 1 for a stray byte.
std::size_t CharacterLength(std::string_view text) {
    const std::size_t length = ClaimedLength(Byte(text, 0));
    if (length > text.size() || (length > 1 && !SecondFits(Byte(text, 0), Byte(text, 1)))) {
        return 1;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((Byte(text, i) & 0xC0U) != 0x80) {
            return 1;
        }
    }
    return length;
}

bool IsPlain(std::string_view character) {
    const unsigned first = Byte(character, 0);
    switch (character.size()) {
        case 1:
            return first >= 0x20 && first < 0x7F;
        case 2:
            return first != 0xC2 || Byte(character, 1) >= 0xA0;
        default:
            return character != "\u2028" && character != "\u2029";
    }
}

void AppendEscaped(std::string& out, std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        out += "\\x";
        out += kDigits[Byte(bytes, i) >> 4U];
        out += kDigits[Byte(bytes, i) & 0xFU];
    }
}

}  // namespace

std::string OneLine(std::string_view text, bool cut) {
    if (!cut && text.ends_with('\n')) {
        text.remove_suffix(1);
    }
    std::string out;
    out.reserve(text.size() + kCutMark.size());
    std::size_t room_for_mark = 0;  // the longest beginning of `out` behind which the mark fits
    while (!text.empty()) {
        const std::string_view character = text.substr(0, CharacterLength(text));
        if (IsPlain(character)) {
            out += character;
        } else {
            AppendEscaped(out, character);
        }
        if (out.size() > kMostText) {
            cut = true;
            break;
        }
        if (out.size() + kCutMark.size() <= kMostText) {
            room_for_mark = out.size();
        }
        text.remove_prefix(character.size());
    }
    if (cut) {
        out.resize(room_for_mark);
        out += kCutMark;
    }
    return out;
}

}  // namespace autolog
