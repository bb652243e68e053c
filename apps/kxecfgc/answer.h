// What the configuration centre says, rightly or with a fault.
#ifndef KX_APPS_KXECFGC_ANSWER_H
#define KX_APPS_KXECFGC_ANSWER_H

#include <span>
#include <string>
#include <string_view>

#include "common/fault.h"
#include "common/service.h"
#include "kxecfgc/addresses.h"

namespace kxecfgc {

inline constexpr unsigned kRequestType = 1004;
inline constexpr unsigned kNotificationType = 1002;

// The faults that --fault knows.
std::span<const kxapp::FaultKind> FaultKinds();

// Empty when `data` asks for the section "global", the only one there is; otherwise what is wrong
// with the request.
std::string FaultOfRequest(unsigned type, std::string_view data);

// The answer with these addresses: a message "global" with "count", decimal, and "multi_ip", a
// nested message with the keys ip0, ip1, ... An empty fault spoils nothing.
kxapp::Reply MakeAnswer(std::string_view fault, const Addresses& addresses);

// The notification that the section "global" has changed.
std::string MakeNotification();

}  // namespace kxecfgc

#endif  // KX_APPS_KXECFGC_ANSWER_H
