// What an upload says beyond what the block shows.
#ifndef KX_APPS_COMMON_LEFTOVER_H
#define KX_APPS_COMMON_LEFTOVER_H

#include <string>

#include "epinfo.pb.h"

namespace kxapp {

// Everything that Block has no words for, as the text form of Protocol Buffers on one line: fields
// of the schema that the module never fills, and fields that the schema does not have. Cut at
// kMostLeftoverBytes; empty when there is nothing.
inline constexpr std::size_t kMostLeftoverBytes = 1000;
std::string Leftover(const bf_kxepinfo::epinfo& upload);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_LEFTOVER_H
