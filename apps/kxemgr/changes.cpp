#include "kxemgr/changes.h"

#include <map>
#include <set>
#include <string_view>

#include "common/text.h"
#include "common/words.h"

namespace kxemgr {

namespace {

using bf_kxepinfo::epinfo_msg_base;
using bf_kxepinfo::epinfo_msg_nw;

// Collects changes up to the bound.
class Changes {
  public:
    void add(const char* subject, std::string_view item, std::string_view before,
             std::string_view after) {
        if (before == after) {
            return;
        }
        if (m_list.size() == kMostChanges) {
            ++m_besides;
            return;
        }
        m_list.push_back({subject, kxapp::Shown(item, kMostChangeBytes),
                          kxapp::Shown(before, kMostChangeBytes),
                          kxapp::Shown(after, kMostChangeBytes)});
    }

    std::vector<Change> take() {
        if (m_besides > 0) {
            m_list.push_back({"besides", "", "", std::to_string(m_besides) + " more changes"});
        }
        return std::move(m_list);
    }

  private:
    std::vector<Change> m_list;
    std::size_t m_besides = 0;
};

// Numbers where 0 means that nothing is known.
std::string KnownNumber(std::uint64_t number) {
    return number == 0 ? std::string() : std::to_string(number);
}

void CompareBases(Changes& changes, const epinfo_msg_base& before, const epinfo_msg_base& after) {
    const auto physical = [](const epinfo_msg_base& base) {
        return base.physical() != 0 ? "physical" : "virtual";
    };
    changes.add("system", "host name", before.host_node(), after.host_node());
    changes.add("system", "distribution", before.sys_distro(), after.sys_distro());
    changes.add("system", "kernel", before.sys_release(), after.sys_release());
    changes.add("system", "kernel build", before.sys_version(), after.sys_version());
    changes.add("system", "architecture", before.sys_machine(), after.sys_machine());
    changes.add("system", "processors", std::to_string(before.cpu_core()),
                std::to_string(after.cpu_core()));
    changes.add("system", "machine", physical(before), physical(after));
    changes.add("system", "virtual machine", KnownNumber(before.uvmid()),
                KnownNumber(after.uvmid()));
    changes.add("system", "container", before.containerid(), after.containerid());
}

void CompareVersions(Changes& changes, const bf_kxepinfo::epinfo_msg_agentinfo& before,
                     const bf_kxepinfo::epinfo_msg_agentinfo& after) {
    changes.add("version", "agent", before.agent_version(), after.agent_version());
    changes.add("version", "virus", before.virus_version(), after.virus_version());
    changes.add("version", "patch", before.patchdb_version(), after.patchdb_version());
    changes.add("version", "ioa", before.ioadb_version(), after.ioadb_version());
    changes.add("version", "ioc", before.iocdb_version(), after.iocdb_version());
    changes.add("system", "manager", before.mgr_addr(), after.mgr_addr());
}

using Adapters = std::map<std::string, std::set<std::string>>;  // addresses by MAC

Adapters AdaptersOf(const epinfo_msg_nw& network) {
    Adapters adapters;
    for (const auto& adapter : network.if_info()) {
        auto& addresses = adapters[adapter.if_mac()];
        addresses.insert(adapter.if_ipv4().begin(), adapter.if_ipv4().end());
        addresses.insert(adapter.if_ipv6().begin(), adapter.if_ipv6().end());
    }
    return adapters;
}

std::string InWords(const std::set<std::string>& addresses) {
    std::string words;
    for (const std::string& address : addresses) {
        words += (words.empty() ? "" : " ") + address;
        if (words.size() > kMostChangeBytes) {
            break;
        }
    }
    return words.empty() ? "no address" : words;
}

std::string_view LinkOf(const epinfo_msg_nw& network) {
    return network.if_info().empty() ? std::string_view() : network.if_info(0).if_mac();
}

void CompareAddresses(Changes& changes, const std::string& mac, const std::set<std::string>& before,
                      const std::set<std::string>& after) {
    for (const std::string& address : before) {
        changes.add("address", mac, address, after.contains(address) ? address : "");
    }
    for (const std::string& address : after) {
        changes.add("address", mac, before.contains(address) ? address : "", address);
    }
}

void CompareNetworks(Changes& changes, const epinfo_msg_nw& before, const epinfo_msg_nw& after) {
    const Adapters old_ones = AdaptersOf(before);
    const Adapters new_ones = AdaptersOf(after);
    changes.add("link", "", LinkOf(before), LinkOf(after));
    for (const auto& [mac, addresses] : old_ones) {
        if (!new_ones.contains(mac)) {
            changes.add("adapter", mac, InWords(addresses), "");
        }
    }
    for (const auto& [mac, addresses] : new_ones) {
        if (!old_ones.contains(mac)) {
            changes.add("adapter", mac, "", InWords(addresses));
        }
    }
    for (const auto& [mac, addresses] : new_ones) {
        if (const auto found = old_ones.find(mac); found != old_ones.end()) {
            CompareAddresses(changes, mac, found->second, addresses);
        }
    }
}

std::string InWords(const bf_kxepinfo::epinfo_msg_login& section) {
    if (section.usr_info().empty()) {
        return "";
    }
    // Each by itself: a zero byte ends one of them, not all.
    const auto& login = section.usr_info(0);
    const std::string name = kxapp::ShownText(login.login_name());
    const std::string host = kxapp::ShownText(login.login_ip());
    return (name.empty() ? "(no name)" : name) + (host.empty() ? "" : " from " + host) + " at " +
           kxapp::ShownText(login.login_time());
}

}  // namespace

std::vector<Change> CompareSystems(const bf_kxepinfo::epinfo_msg_sys& before,
                                   const bf_kxepinfo::epinfo_msg_sys& after) {
    Changes changes;
    CompareBases(changes, before.base_info(), after.base_info());
    CompareVersions(changes, before.agent_info(), after.agent_info());
    CompareNetworks(changes, before.nw_info(), after.nw_info());
    return changes.take();
}

std::vector<Change> CompareLogins(const bf_kxepinfo::epinfo_msg_login& before,
                                  const bf_kxepinfo::epinfo_msg_login& after) {
    Changes changes;
    changes.add("login", "", InWords(before), InWords(after));
    return changes.take();
}

}  // namespace kxemgr
