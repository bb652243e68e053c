// Messages back to records.
#include "msghandler/kxepproto.h"

namespace {

bool Exists(const bf_kxepinfo::epinfo& msg) {
    return &msg != &bf_kxepinfo::epinfo::default_instance();
}

void ReadBase(const bf_kxepinfo::epinfo_msg_base& base, _stSysInfo& out) {
    out.host_node = base.host_node();
    out.host_plat = base.host_plat();
    out.host_type = base.host_type();
    out.uVmid = base.uvmid();
    out.is_virtual = base.physical() == 0 ? 1 : 0;  // the wire tells the opposite of the record
    out.cpu_core = base.cpu_core();
    out.sys_release = base.sys_release();
    out.sys_version = base.sys_version();
    out.sys_machine = base.sys_machine();
    out.sys_distro = base.sys_distro();
}

_stAdapterInfo ReadInterface(const bf_kxepinfo::epinfo_msg_if& interface) {
    _stAdapterInfo adapter;
    adapter.if_mac = interface.if_mac();
    adapter.if_ipv4.assign(interface.if_ipv4().begin(), interface.if_ipv4().end());
    adapter.if_ipv6.assign(interface.if_ipv6().begin(), interface.if_ipv6().end());
    return adapter;
}

}  // namespace

bool GetResponFromProto(const bf_kxepinfo::epinfo_msg_respone& msg, _mgrRespondMsg& out) {
    out.status = msg.status();
    out.cmd_type = msg.cmd_type();
    out.res_msg = msg.res_msg();
    out.time_diff = msg.time_diff();
    out.duplicate = msg.duplicate();
    return true;
}

uint32_t GetCmdFromProto(const bf_kxepinfo::epinfo& msg) {
    return msg.cmd();
}

uint32_t GetAgentId(const bf_kxepinfo::epinfo& msg) {
    return msg.agent_id();
}

bool GetResmonFromProto(const bf_kxepinfo::epinfo& msg, _stResmon& out) {
    if (!Exists(msg) || !msg.has_rc_info()) {
        return false;
    }
    out.cpu_usage = msg.rc_info().cpu_usage();
    out.mem_total = msg.rc_info().mem_total();
    out.mem_used = msg.rc_info().mem_usaged();
    return true;
}

bool GetLoginFromProto(const bf_kxepinfo::epinfo& msg, _stUsrLogInfo& out) {
    if (!Exists(msg) || !msg.has_login_info()) {
        return false;
    }
    if (msg.login_info().usr_info().empty()) {
        out = _stUsrLogInfo{};
        return true;
    }
    const bf_kxepinfo::epinfo_msg_usr& first = msg.login_info().usr_info(0);
    out.login_time = first.login_time();
    out.login_name = first.login_name();
    out.login_ip = first.login_ip();
    return true;
}

bool GetAgentFromProto(const bf_kxepinfo::epinfo& msg, _stAgentInfo& out) {
    if (!Exists(msg) || !msg.has_sys_info()) {
        return false;
    }
    const bf_kxepinfo::epinfo_msg_sys& section = msg.sys_info();
    if (!section.has_base_info() || !section.has_agent_info() || !section.has_nw_info()) {
        return false;
    }
    ReadBase(section.base_info(), out.sys_info);
    out.adapters.clear();
    for (const bf_kxepinfo::epinfo_msg_if& interface : section.nw_info().if_info()) {
        out.adapters.push_back(ReadInterface(interface));
    }
    out.ext_info.agent_version = section.agent_info().agent_version();
    out.ext_info.virus_version = section.agent_info().virus_version();
    return true;
}

// By value, since readers are built against this signature.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool IsInAgentIds(const bf_kxepinfo::epinfo& /*msg*/, std::string /*id*/) {
    return false;
}
