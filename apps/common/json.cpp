#include "common/json.h"

#include <cstdlib>
#include <new>

#include "common/text.h"

namespace kxapp {

Json JsonString(std::string_view text) {
    const std::string repaired = RepairUtf8(text);
    return Json(json_stringn(repaired.data(), repaired.size()));
}

Json JsonStrings(const std::vector<std::string>& texts) {
    Json array(json_array());
    for (const std::string& text : texts) {
        if (json_array_append_new(array.get(), JsonString(text).release()) != 0) {
            throw std::bad_alloc();
        }
    }
    return array;
}

void SetMember(json_t* object, const char* name, Json value) {
    // The library takes the reference in every case, and refuses null.
    if (json_object_set_new(object, name, value.release()) != 0) {
        throw std::bad_alloc();
    }
}

namespace {

// As many as any decimal fraction of so many digits keeps on its way through a double: 12.46 stays
// 12.46.
constexpr std::size_t kRealDigits = JSON_REAL_PRECISION(15);

}  // namespace

std::string ToText(const json_t* value, unsigned indent) {
    const std::unique_ptr<char, decltype(&std::free)> text(
        json_dumps(value, JSON_ENSURE_ASCII | JSON_INDENT(indent) | kRealDigits), &std::free);
    if (text == nullptr) {
        throw std::bad_alloc();
    }
    return std::string(text.get()) + "\n";
}

}  // namespace kxapp
