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
    // Of more agents the one is forgotten that has not been asked about for longest.
    static constexpr std::size_t kMostAgents = 1024;

    // Whether the upload comes from another machine than the agent id belongs to, and if not,
    // learns what it reports. An id belongs to the machine that used it first: the other one is
    // told, and draws an id of its own at its next start. Until then each of its uploads with agent
    // facts is a duplicate; those without can come from either, and are none. Neither are uploads
    // without an agent id (0).
    bool is_duplicate(const bf_kxepinfo::epinfo& upload);

  private:
    using Entries = std::list<std::pair<std::uint32_t, Machine>>;
    Machine& machine_of(std::uint32_t agent_id);

    Entries m_entries;  // the latest asked about first
    std::unordered_map<std::uint32_t, Entries::iterator> m_by_id;
};

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_KNOWN_MACHINES_H
