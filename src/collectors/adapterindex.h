// Finds an adapter in a list by its name, as if searched from the front. Beside the list, because a
// host of containers has thousands of interfaces and every address of each is looked up.
#ifndef KXEPINFO_COLLECTORS_ADAPTERINDEX_H
#define KXEPINFO_COLLECTORS_ADAPTERINDEX_H

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/records.h"

// Keeps the names alone, so the list may grow and move. Whoever appends an adapter to the list
// appends its name here; names and order of what was indexed must stay.
class AdapterIndex {
  public:
    explicit AdapterIndex(const std::vector<_stAdapterInfo>& adapters) {
        m_positions.reserve(adapters.size());
        for (const _stAdapterInfo& adapter : adapters) {
            Append(adapter.if_name);
        }
    }

    void Append(const std::string& name) { m_positions.emplace(name, m_count++); }

    // The position of the first adapter of that name, if there is one.
    std::optional<std::size_t> FindAdapterByName(const std::string& name) const {
        const auto found = m_positions.find(name);
        return found == m_positions.end() ? std::nullopt : std::optional(found->second);
    }

  private:
    std::unordered_map<std::string, std::size_t> m_positions;
    std::size_t m_count = 0;  // of adapters: a name that occurs twice has one position, the first
};

#endif  // KXEPINFO_COLLECTORS_ADAPTERINDEX_H
