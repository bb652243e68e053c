// What became of an agent's facts from one upload to the next.
#ifndef KX_APPS_KXEMGR_CHANGES_H
#define KX_APPS_KXEMGR_CHANGES_H

#include <cstddef>
#include <string>
#include <vector>

#include "epinfo.pb.h"

namespace kxemgr {

// One fact. Empty texts stand for what is not there: of an adapter that was plugged in `before` is
// empty, and of one that is gone `after`.
struct Change {
    std::string subject;  // "system", "version", "adapter", "address", "link", "login", "besides"
    std::string item;     // which of them: "kernel", "virus", an adapter's MAC; may be empty
    std::string before;
    std::string after;

    bool operator==(const Change&) const = default;
};

// Of one upload only so many changes are told; one more, of subject "besides", says how many others
// there were. Texts are cut at kxemgr::kMostChangeBytes.
inline constexpr std::size_t kMostChanges = 64;
inline constexpr std::size_t kMostChangeBytes = 512;

// The changes of a system section, in a fixed order: system, versions, link, adapters, addresses.
//
// An adapter is known by its MAC; adapters that share one, as tunnels without any do, count as one
// with the addresses of all. "link" is the adapter that comes first, the one over which the agent
// reaches its manager. An adapter that comes or goes takes its addresses along in one change.
std::vector<Change> CompareSystems(const bf_kxepinfo::epinfo_msg_sys& before,
                                   const bf_kxepinfo::epinfo_msg_sys& after);

// The change of a login section: one, or none.
std::vector<Change> CompareLogins(const bf_kxepinfo::epinfo_msg_login& before,
                                  const bf_kxepinfo::epinfo_msg_login& after);

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_CHANGES_H
