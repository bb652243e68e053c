// The first byte is the size of the caller's buffer, less one; the rest is what a command prints.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "collectors/command_text.h"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

// Each piece of the output up to its first zero byte.
std::string WholeText(std::string_view output) {
    std::string text;
    for (; !output.empty(); output.remove_prefix(std::min(output.size(), kCommandReadSize))) {
        const std::string_view piece = output.substr(0, kCommandReadSize);
        text += piece.substr(0, piece.find('\0'));
    }
    return text;
}

bool AppendAll(std::string_view output, CommandText& text) {
    for (; !output.empty(); output.remove_prefix(std::min(output.size(), kCommandReadSize))) {
        CommandChunk chunk{};
        const std::string_view piece = output.substr(0, kCommandReadSize);
        std::copy(piece.begin(), piece.end(), chunk.begin());
        if (!text.Append(chunk)) {
            return false;
        }
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t room = std::size_t{data[0]} + 1;
    const std::string_view output(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::string expected = WholeText(output);

    // A block of exactly that size, so that AddressSanitizer sees a write beyond it.
    const auto out = std::make_unique<char[]>(room);
    CommandText text(out.get(), room);
    const bool fits = AppendAll(output, text);
    Require(fits == (expected.size() < room));
    Require(out.get() == expected.substr(0, room - 1));

    text.DropLastCharacter();
    expected = expected.substr(0, room - 1);
    Require(out.get() == expected.substr(0, expected.empty() ? 0 : expected.size() - 1));
    text.Clear();
    Require(out[0] == '\0');
    return 0;
}
