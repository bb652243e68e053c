// JSON values, owned.
#ifndef KX_APPS_COMMON_JSON_H
#define KX_APPS_COMMON_JSON_H

#include <jansson.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kxapp {

struct ReleaseJson {
    void operator()(json_t* value) const { json_decref(value); }
};
using Json = std::unique_ptr<json_t, ReleaseJson>;

// A string value; bytes that are not UTF-8 are escaped (RepairUtf8 of text.h).
Json JsonString(std::string_view text);
Json JsonStrings(const std::vector<std::string>& texts);

// Sets a member of an object. Throws std::bad_alloc when it cannot be set.
void SetMember(json_t* object, const char* name, Json value);

// JSON text in ASCII with a newline at its end; over several lines when `indent` is not 0. Members
// keep the order in which they were set.
std::string ToText(const json_t* value, unsigned indent = 0);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_JSON_H
