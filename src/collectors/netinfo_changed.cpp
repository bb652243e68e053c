// Whether the network adapters differ from those of the cycle before.
#include <algorithm>

#include "collectors/adapterindex.h"
#include "collectors/netinfo.h"
#include "common/log.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

using Addresses = std::vector<std::string>;

// The list of the cycle before was sorted by the comparison then, and need not be again.
void Sort(Addresses& addresses) {
    if (!std::is_sorted(addresses.begin(), addresses.end())) {
        std::sort(addresses.begin(), addresses.end());
    }
}

// Sorts both in place when they are equally long.
bool SameAddressSet(Addresses& previous, Addresses& current) {
    if (previous.size() != current.size()) {
        return false;
    }
    Sort(previous);
    Sort(current);
    return previous == current;
}

bool IsAdapterChanged(_stAdapterInfo& previous, _stAdapterInfo& current) {
    if (previous.if_mac != current.if_mac) {
        EP_LOG(kLogInformation, "mac information has changed\n");
        EP_LOG(kLogInformation, "new mac: %s\n", current.if_mac.c_str());
        return true;
    }
    if (!SameAddressSet(previous.if_ipv4, current.if_ipv4)) {
        EP_LOG(kLogInformation, "Ip V4 information has changed\n");
        return true;
    }
    if (!SameAddressSet(previous.if_ipv6, current.if_ipv6)) {
        EP_LOG(kLogInformation, "Ip v6 information has changed\n");
        return true;
    }
    return false;
}

}  // namespace

bool IsNetInfoChanged(std::vector<_stAdapterInfo>& previous, std::vector<_stAdapterInfo>& current) {
    if (previous.size() != current.size()) {
        EP_LOG(kLogInformation, "adapters information has changed\n");
        return true;
    }
    const AdapterIndex index(previous);
    for (_stAdapterInfo& adapter : current) {
        const auto position = index.FindAdapterByName(adapter.if_name);
        if (!position) {
            // At level 2, unlike its siblings: whoever filters the log by level knows it there.
            EP_LOG(kLogError, "adapter name has changed, new adapter name: %s\n",
                   adapter.if_name.c_str());
            return true;
        }
        if (IsAdapterChanged(previous[*position], adapter)) {
            return true;
        }
    }
    return false;
}
