// Records to messages, and the bytes of both directions.
#include "msghandler/kxepproto.h"

#include "common/log.h"
#include "kxe_base.h"
#include "nox_id.h"

namespace {

constexpr char kLogTag[] = "kxepproto";

// 0 until the agent's id is first known, then kept: an id that is redrawn counts from the next time
// the library is loaded.
uint32_t cached_agent_id = 0;

void AddBit(bf_kxepinfo::epinfo& msg, bf_kxepinfo::msg_type bit) {
    msg.set_cmd(msg.cmd() | static_cast<uint32_t>(bit));
}

void FillBase(const _stSysInfo& rec, bf_kxepinfo::epinfo_msg_base& base) {
    base.set_host_node(rec.host_node);
    base.set_host_plat(rec.host_plat);
    base.set_host_type(rec.host_type);
    base.set_uvmid(rec.uVmid);
    base.set_physical(rec.is_virtual == 0 ? 1 : 0);  // the wire tells the opposite of the record
    base.set_cpu_core(rec.cpu_core);
    base.set_sys_release(rec.sys_release);
    base.set_sys_version(rec.sys_version);
    base.set_sys_machine(rec.sys_machine);
    base.set_sys_distro(rec.sys_distro);
    base.set_containerid(rec.containerId);
    base.set_recal_timestamp(rec.recal_timestamp);
}

void FillInterface(const _stAdapterInfo& rec, bf_kxepinfo::epinfo_msg_if& interface) {
    interface.set_if_mac(rec.if_mac);
    interface.clear_if_ipv4();
    for (const std::string& address : rec.if_ipv4) {
        interface.add_if_ipv4(address);
    }
    interface.clear_if_ipv6();
    for (const std::string& address : rec.if_ipv6) {
        interface.add_if_ipv6(address);
    }
}

void FillNetwork(const _stAgentInfo& rec, bf_kxepinfo::epinfo_msg_nw& network) {
    network.clear_if_info();
    for (const _stAdapterInfo& adapter : rec.adapters) {
        FillInterface(adapter, *network.add_if_info());
    }
    network.set_is_ip_changed(rec.is_ip_changed);
}

void FillVersions(const _stExtInfo& rec, bf_kxepinfo::epinfo_msg_agentinfo& versions) {
    versions.set_agent_version(rec.agent_version);
    versions.set_virus_version(rec.virus_version);
    versions.set_patchdb_version(rec.patchdb_version);
    versions.set_ioadb_version(rec.ioadb_version);
    versions.set_iocdb_version(rec.iocdb_version);
    versions.set_mgr_addr(rec.mgr_addr);
}

}  // namespace

void AddResmonToProto(const _stResmon& rec, bf_kxepinfo::epinfo& msg) {
    AddBit(msg, bf_kxepinfo::AGT_MGR_RC);
    bf_kxepinfo::epinfo_msg_rc& section = *msg.mutable_rc_info();
    section.set_cpu_usage(rec.cpu_usage);
    section.set_mem_total(rec.mem_total);
    section.set_mem_usaged(rec.mem_used);
    EP_LOG(kLogDebug, "cpu_usage:%d.%02d(%%),mem_total:%u(kB),mem_used:%u(kB)",
           static_cast<int>(rec.cpu_usage / 100), static_cast<int>(rec.cpu_usage % 100),
           rec.mem_total, rec.mem_used);
}

void AddAgentToProto(const _stAgentInfo& rec, bf_kxepinfo::epinfo& msg) {
    AddBit(msg, bf_kxepinfo::AGT_MGR_SYS);
    bf_kxepinfo::epinfo_msg_sys& section = *msg.mutable_sys_info();
    FillBase(rec.sys_info, *section.mutable_base_info());
    FillNetwork(rec, *section.mutable_nw_info());
    FillVersions(rec.ext_info, *section.mutable_agent_info());
    section.mutable_change()->set_is_changed(
        static_cast<bf_kxepinfo::SYS_INFO_CHANGED>(rec.change_state));
}

void AddUsrLogToProto(const _stUsrLogInfo& rec, bf_kxepinfo::epinfo& msg) {
    AddBit(msg, bf_kxepinfo::AGT_MGR_LOGIN);
    bf_kxepinfo::epinfo_msg_login& section = *msg.mutable_login_info();
    section.clear_usr_info();
    bf_kxepinfo::epinfo_msg_usr& login = *section.add_usr_info();
    login.set_login_ip(rec.login_ip);
    login.set_login_name(rec.login_name);
    login.set_login_time(rec.login_time);
}

void ClearEpinfo(bf_kxepinfo::epinfo& msg) {
    msg.set_cmd(0);
    msg.set_agent_id(0);
    msg.set_agent_timestamp(0);
    msg.clear_rc_info();
    msg.clear_sys_info();
    msg.clear_ui_info();
    msg.clear_login_info();
}

bool ProtoToString(bf_kxepinfo::epinfo& msg, std::string& out) {
    if (cached_agent_id == 0) {
        cached_agent_id = nox_get_hostid();
    }
    if (cached_agent_id == 0) {
        EP_LOG(kLogError, "get id of this agent failed while transform proto to string\n");
        return false;
    }
    msg.set_agent_id(cached_agent_id);
    msg.set_agent_timestamp(kxe_time());
    return msg.SerializeToString(&out);
}

bool ParseEpinfoFromStr(const std::string& bytes, bf_kxepinfo::epinfo& msg) {
    return msg.ParseFromString(bytes);
}

bool ParseRespMsgFromStr(const std::string& bytes, bf_kxepinfo::epinfo_msg_respone& msg) {
    return msg.ParseFromString(bytes);
}
