// An upload that the manager tells of, for people and for scripts.
#ifndef KX_APPS_KXECTL_WATCHED_TEXT_H
#define KX_APPS_KXECTL_WATCHED_TEXT_H

#include <optional>
#include <string>
#include <string_view>

namespace kxectl {

// Of a packed upload (common/watch.h) the line that `kxemgr --json` prints; or the block that
// kxemgr prints, with the answer and the fault played on it behind it. Every byte is checked as the
// manager checks an agent's. Nothing when there is a fault, which `fault` then tells in words.
std::optional<std::string> ShowWatched(std::string_view packed, bool json, std::string& fault);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_WATCHED_TEXT_H
