// Makes lines of the tracing SDK from any header and any text. Whatever they are, the result must
// be one line of JSON without a control character.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "event_line.h"
#include "json_check.h"

namespace {

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void CheckLine(const std::string& line) {
    Require(line.ends_with('\n') && std::count(line.begin(), line.end(), '\n') == 1);
    Require(std::none_of(line.begin(), line.end() - 1, [](char character) {
        return static_cast<unsigned char>(character) < 0x20 && character != '\t';
    }));
    // JSON nested as deep as it may be lies one level deeper in the line.
    Require(bpsdk::IsJson(line, bpsdk::kDeepestJson + 1));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    kxe_bp_header header{};
    const std::size_t header_size = std::min(size, sizeof header);
    std::memcpy(&header, data, header_size);
    const std::string_view text(reinterpret_cast<const char*>(data) + header_size,
                                size - header_size);
    CheckLine(bpsdk::TraceLine({0, 0}, header, text));
    CheckLine(bpsdk::OtherLine({0, 0}, static_cast<int>(size), text));
    return 0;
}
