// Finds an adapter in a list by its name, as if searched from the front. Beside the list, because a
// host of containers has thousands of interfaces and every address of each is looked up.
#ifndef KXEPINFO_COLLECTORS_ADAPTERINDEX_H
#define KXEPINFO_COLLECTORS_ADAPTERINDEX_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/records.h"

// A hash table with open addressing, of hash values and positions alone: names stay in the list,
// and what is looked up touches little memory besides them. The list must live as long; it may
// grow and move, and whoever appends an adapter to it calls Append then. Order and names of what
// was indexed must stay.
class AdapterIndex {
  public:
    explicit AdapterIndex(const std::vector<_stAdapterInfo>& adapters)
        : m_adapters(adapters), m_places(PlacesFor(adapters.size())) {
        while (m_count < m_adapters.size()) {
            TakePlace(m_count++);
        }
    }

    // Takes in the first adapter of the list that is not indexed yet.
    void Append() {
        if (PlacesFor(m_count + 1) > m_places.size()) {
            m_places.assign(PlacesFor(m_count + 1), Place());
            for (std::size_t position = 0; position < m_count; ++position) {
                TakePlace(position);
            }
        }
        TakePlace(m_count++);
    }

    // The position of the first adapter of that name, if there is one.
    std::optional<std::size_t> FindAdapterByName(std::string_view name) const {
        const std::uint32_t hash = Hash(name);
        for (std::size_t i = First(hash); m_places[i].number != 0; i = Next(i)) {
            if (m_places[i].hash == hash && m_adapters[m_places[i].number - 1].if_name == name) {
                return m_places[i].number - 1;
            }
        }
        return std::nullopt;
    }

  private:
    struct Place {
        std::uint32_t hash = 0;
        std::uint32_t number = 0;  // position + 1; 0 in a free place
    };

    // A power of two, of which at most half is taken.
    static std::size_t PlacesFor(std::size_t adapters) { return std::bit_ceil(2 * adapters + 16); }

    static std::uint32_t Hash(std::string_view name) {
        return static_cast<std::uint32_t>(std::hash<std::string_view>()(name));
    }

    std::size_t First(std::uint32_t hash) const { return hash & (m_places.size() - 1); }
    std::size_t Next(std::size_t place) const { return (place + 1) & (m_places.size() - 1); }

    // In the order of the list, so that of a name that occurs twice the first is found first.
    void TakePlace(std::size_t position) {
        const std::uint32_t hash = Hash(m_adapters[position].if_name);
        std::size_t place = First(hash);
        while (m_places[place].number != 0) {
            place = Next(place);
        }
        m_places[place] = {.hash = hash, .number = static_cast<std::uint32_t>(position + 1)};
    }

    const std::vector<_stAdapterInfo>& m_adapters;
    std::vector<Place> m_places;
    std::size_t m_count = 0;  // of adapters that are indexed
};

#endif  // KXEPINFO_COLLECTORS_ADAPTERINDEX_H
