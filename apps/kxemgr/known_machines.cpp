#include "kxemgr/known_machines.h"

namespace kxemgr {

bool KnownMachines::is_duplicate(const bf_kxepinfo::epinfo& upload) {
    return upload.agent_id() != 0 && IsDuplicate(machine_of(upload.agent_id()), upload);
}

Machine& KnownMachines::machine_of(std::uint32_t agent_id) {
    if (const auto found = m_by_id.find(agent_id); found != m_by_id.end()) {
        m_entries.splice(m_entries.begin(), m_entries, found->second);
        return m_entries.front().second;
    }
    if (m_entries.size() == kMostAgents) {
        m_by_id.erase(m_entries.back().first);
        m_entries.pop_back();
    }
    m_entries.emplace_front(agent_id, Machine{});
    m_by_id.emplace(agent_id, m_entries.begin());
    return m_entries.front().second;
}

}  // namespace kxemgr
