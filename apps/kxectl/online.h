// The question for the agent's online state.
#ifndef KX_APPS_KXECTL_ONLINE_H
#define KX_APPS_KXECTL_ONLINE_H

#include <optional>
#include <string>
#include <string_view>

namespace kxectl {

inline constexpr unsigned kOnlineType = 1008;

// Reads the answer, a message of type 1008 with "online_state" = "1" or "0". Nothing when it is
// something else, which `fault` then tells in words.
std::optional<bool> ReadOnlineState(unsigned type, std::string_view data, std::string& fault);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_ONLINE_H
