#include "common/leftover.h"

#include <string_view>
#include <vector>

#include "common/text.h"

namespace kxapp {

namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

// The fields that the block shows, by their paths; of the messages above them nothing is kept that
// is empty without them.
constexpr std::string_view kShown[] = {
    "cmd",
    "agent_id",
    "agent_timestamp",
    "rc_info.cpu_usage",
    "rc_info.mem_total",
    "rc_info.mem_usaged",
    "sys_info.base_info.host_node",
    "sys_info.base_info.host_plat",
    "sys_info.base_info.host_type",
    "sys_info.base_info.physical",
    "sys_info.base_info.sys_release",
    "sys_info.base_info.sys_version",
    "sys_info.base_info.sys_machine",
    "sys_info.base_info.sys_distro",
    "sys_info.base_info.cpu_core",
    "sys_info.base_info.uVmid",
    "sys_info.base_info.containerId",
    "sys_info.base_info.recal_timestamp",
    "sys_info.nw_info.if_info",
    "sys_info.nw_info.is_ip_changed",
    "sys_info.agent_info.agent_version",
    "sys_info.agent_info.virus_version",
    "sys_info.agent_info.patchdb_version",
    "sys_info.agent_info.ioadb_version",
    "sys_info.agent_info.iocdb_version",
    "sys_info.agent_info.mgr_addr",
    "sys_info.change.is_changed",
    "login_info.usr_info",
};

// Clears a field, and each message on the way to it that is then empty.
void ClearPath(Message& message, std::string_view path) {
    const std::size_t dot = path.find('.');
    const FieldDescriptor* field =
        message.GetDescriptor()->FindFieldByName(std::string(path.substr(0, dot)));
    const auto& access = *message.GetReflection();
    if (dot == std::string_view::npos) {
        access.ClearField(&message, field);
        return;
    }
    if (!access.HasField(message, field)) {
        return;
    }
    Message& inner = *access.MutableMessage(&message, field);
    ClearPath(inner, path.substr(dot + 1));
    if (inner.ByteSizeLong() == 0) {
        access.ClearField(&message, field);
    }
}

}  // namespace

std::string Leftover(const bf_kxepinfo::epinfo& upload) {
    bf_kxepinfo::epinfo rest = upload;
    for (const std::string_view path : kShown) {
        ClearPath(rest, path);
    }
    return Shown(rest.ShortDebugString(), kMostLeftoverBytes);
}

}  // namespace kxapp
