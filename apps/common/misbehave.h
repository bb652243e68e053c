// The faults that every peer knows: they do not depend on what is answered.
#ifndef KX_APPS_COMMON_MISBEHAVE_H
#define KX_APPS_COMMON_MISBEHAVE_H

#include <string>
#include <string_view>

#include "common/fault.h"
#include "common/service.h"

namespace kxapp {

inline constexpr FaultKind kSilent{"silent", "does not answer"};
inline constexpr FaultKind kSlow{"slow",
                                 "answers after 6 s, when the module has given up after 5 s"};
inline constexpr FaultKind kClose{"close", "ends the conversation instead of answering"};
inline constexpr FaultKind kGarbage{"garbage", "answers with 64 random bytes"};

// How an answer goes out under a fault: at once unless it is one of the first three.
Delivery DeliveryUnder(std::string_view fault);

// What kGarbage answers. Throws std::runtime_error when the kernel gives none.
std::string Garbage();

}  // namespace kxapp

#endif  // KX_APPS_COMMON_MISBEHAVE_H
