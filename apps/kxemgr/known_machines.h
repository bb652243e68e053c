// The machine of each agent id, in memory: what the manager goes by without a database.
#ifndef KX_APPS_KXEMGR_KNOWN_MACHINES_H
#define KX_APPS_KXEMGR_KNOWN_MACHINES_H

#include <cstddef>
#include <cstdint>
#include <list>
#include <unordered_map>
#include <utility>

#include "kxemgr/machine.h"

namespace kxemgr {

class KnownMachines {
  public:
    // Of more agents the one is forgotten that has not been heard of for longest.
    static constexpr std::size_t kMostAgents = 1024;

    // IsDuplicate (machine.h) for the agent that the upload names. One without an agent id (0) is
    // no duplicate.
    bool is_duplicate(const bf_kxepinfo::epinfo& upload);

  private:
    using Entries = std::list<std::pair<std::uint32_t, Machine>>;
    Machine& machine_of(std::uint32_t agent_id);

    Entries m_entries;  // the latest heard of first
    std::unordered_map<std::uint32_t, Entries::iterator> m_by_id;
};

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_KNOWN_MACHINES_H
