// What tells one machine from another, so that two machines with one agent id are noticed: a disk
// image taken from an installed agent carries the agent's id along.
#ifndef KX_APPS_KXEMGR_MACHINE_H
#define KX_APPS_KXEMGR_MACHINE_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <set>
#include <string>

#include "epinfo.pb.h"

namespace kxemgr {

// Three facts, each of which may be unknown: the empty text, the empty set, 0.
//
// Unknown they often are: a machine without a network has no adapter to report, and the virtual
// machine's id is sent only by an agent that is bound to a manager at 127.0.0.1 and whose id was
// not calculated from a MAC.
struct Machine {
    static constexpr std::size_t kMostHostNameBytes = 255;
    static constexpr std::size_t kMostMacs = 1024;

    std::string host_name;       // cut at kMostHostNameBytes
    std::set<std::string> macs;  // of more than kMostMacs the first in byte order
    std::uint64_t vm_id = 0;
};

// The machine that an upload reports; nothing when it carries no agent facts, which its cmd tells.
// A MAC counts when it has the form 00-1A-2B-3C-4D-5E and is not all zero: tunnels have no other.
std::optional<Machine> ReportedMachine(const bf_kxepinfo::epinfo& upload);

// Whether the two are different machines: host name, set of MACs and virtual machine's id all known
// of both and all different. One fact alone changes on the same machine every day: it is renamed,
// gets another network card, or is restored as another virtual machine.
//
// Unknown is not different. Where a fact is missing on either side, a clone cannot be told from a
// machine that has changed, and a false alarm would cost an innocent machine its identity and its
// history, whereas a clone that is missed is only seen later, when all is known.
bool IsOtherMachine(const Machine& known, const Machine& reported);

// Takes over each fact that is reported, and keeps what is known where it is not: a machine that
// has just lost its network must not become one that nothing can be compared with.
void Learn(Machine& known, const Machine& reported);

// Whether the upload comes from another machine than `known`, to which its agent id belongs; if
// not, learns what it reports. An id belongs to the machine that used it first: the other one is
// told, and draws an id of its own at its next start. Until then each of its uploads with agent
// facts is a duplicate; those without can come from either, and are none.
bool IsDuplicate(Machine& known, const bf_kxepinfo::epinfo& upload);

// The MACs as one text and back, joined by a comma.
std::string JoinMacs(const std::set<std::string>& macs);
std::set<std::string> SplitMacs(const std::string& text);

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_MACHINE_H
