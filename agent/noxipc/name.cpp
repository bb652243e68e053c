#include "name.h"

#include <algorithm>

namespace noxipc {
namespace {

// Not isalnum, which depends on the locale.
bool IsAllowed(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '-' || c == '.';
}

}  // namespace

bool IsValidName(std::string_view name) {
    return !name.empty() && name.size() <= kMaxNameLength && name.front() != '.' &&
           name.find("..") == std::string_view::npos &&
           std::all_of(name.begin(), name.end(), IsAllowed);
}

}  // namespace noxipc
