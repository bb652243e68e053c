// All fields of the agent record as tuples, to compare and print a whole record at once.
#ifndef KXEPINFO_TESTS_SUPPORT_RECORD_FIELDS_H
#define KXEPINFO_TESTS_SUPPORT_RECORD_FIELDS_H

#include <tuple>
#include <vector>

#include "common/records.h"

namespace kxtest {

inline auto Fields(const _stSysInfo& info) {
    return std::make_tuple(info.host_type, info.is_virtual, info.host_plat, info.cpu_core,
                           info.uVmid, info.host_node, info.sys_release, info.sys_version,
                           info.sys_machine, info.sys_distro, info.spare_kind, info.spare_value,
                           info.containerId, info.recal_timestamp);
}

inline auto Fields(const _stExtInfo& info) {
    return std::make_tuple(info.agent_version, info.virus_version, info.patchdb_version,
                           info.ioadb_version, info.iocdb_version, info.reserved_ext1,
                           info.reserved_ext2, info.reserved_ext3, info.mgr_addr);
}

inline auto Fields(const _stAdapterInfo& adapter) {
    return std::make_tuple(adapter.if_mac, adapter.if_name, adapter.if_ipv4, adapter.if_ipv6);
}

inline auto Fields(const std::vector<_stAdapterInfo>& adapters) {
    std::vector<decltype(Fields(_stAdapterInfo{}))> fields;
    for (const _stAdapterInfo& adapter : adapters) {
        fields.push_back(Fields(adapter));
    }
    return fields;
}

inline auto Fields(const _stAgentInfo& agent) {
    return std::make_tuple(Fields(agent.sys_info), Fields(agent.ext_info), agent.reserved_agent1,
                           agent.reserved_agent2, Fields(agent.adapters), agent.is_ip_changed,
                           agent.change_state);
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_RECORD_FIELDS_H
