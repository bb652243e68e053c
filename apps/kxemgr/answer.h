// What the manager answers to an upload, rightly or with a fault.
#ifndef KX_APPS_KXEMGR_ANSWER_H
#define KX_APPS_KXEMGR_ANSWER_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "common/fault.h"
#include "common/service.h"
#include "epinfo.pb.h"

namespace kxemgr {

// The faults that --fault knows.
std::span<const kxapp::FaultKind> FaultKinds();

// The right answer to an upload received at `now`, in seconds since the epoch: accepted, with the
// upload's cmd and the manager's clock minus the agent's.
bf_kxepinfo::epinfo_msg_respone Accept(const bf_kxepinfo::epinfo& upload, std::int64_t now);

// The answer to something that is no upload.
bf_kxepinfo::epinfo_msg_respone Refuse(std::string_view why);

// Changes an answer as the fault says, where the fault is in the message; see FaultKinds. Other
// faults leave it alone.
void ApplyToMessage(std::string_view fault, bf_kxepinfo::epinfo_msg_respone& answer);

// The answer framed, and when and how it goes out: spoilt where the fault is there. An empty fault
// spoils nothing.
kxapp::Reply Deliver(std::string_view fault, const bf_kxepinfo::epinfo_msg_respone& answer);

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_ANSWER_H
