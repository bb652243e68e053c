// Makes a log line of any text: one line, no control character in it, no longer than it may be. The
// same text is read as a level file.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "level_file.h"
#include "line.h"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

bool IsControl(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 0x20 || byte == 0x7F;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    for (const bool cut : {false, true}) {
        const std::string line = autolog::OneLine(text, cut);
        Require(line.size() <= autolog::kMostText);
        for (const char c : line) {
            Require(!IsControl(c));
        }
        Require(line.find("\u2028") == std::string::npos);
        Require(line.find("\u2029") == std::string::npos);
        Require(!cut || line.ends_with(autolog::kCutMark));
        // What came out needs no more care.
        Require(autolog::OneLine(line, false) == line);
    }
    const int level = autolog::LevelIn(text);
    Require(level >= autolog::kLowestLevel && level <= autolog::kHighestLevel);
    return 0;
}
