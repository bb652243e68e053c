// Whether a text is JSON (RFC 8259).
#ifndef KX_BPSDK_JSON_CHECK_H
#define KX_BPSDK_JSON_CHECK_H

#include <string_view>

namespace bpsdk {

// Deepest nesting of arrays and objects that counts as JSON.
inline constexpr int kDeepestJson = 64;

// True for one JSON value of any kind in valid UTF-8, with blanks around it or without, nested at
// most `deepest` deep. Takes memory from the stack only, in proportion to `deepest`.
bool IsJson(std::string_view text, int deepest = kDeepestJson);

}  // namespace bpsdk

#endif  // KX_BPSDK_JSON_CHECK_H
