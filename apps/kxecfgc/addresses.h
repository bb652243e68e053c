// The file of manager addresses: an INI file with the section [multi_ip] and the keys ip0, ip1, ...
// without a gap.
#ifndef KX_APPS_KXECFGC_ADDRESSES_H
#define KX_APPS_KXECFGC_ADDRESSES_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kxecfgc {

using Addresses = std::vector<std::string>;

// Keys behind this many are not looked for.
inline constexpr std::size_t kMostAddresses = 1024;
// The module leaves longer ones out.
inline constexpr std::size_t kLongestAddress = 63;

// The addresses in the order of their numbers; none when the section has none. Nothing when the
// file cannot be read or an address is missing, empty or too long; `fault` then says so in words.
std::optional<Addresses> ReadAddresses(const std::string& path, std::string& fault);

}  // namespace kxecfgc

#endif  // KX_APPS_KXECFGC_ADDRESSES_H
