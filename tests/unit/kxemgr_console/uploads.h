// Uploads for the console's tests.
#ifndef KXEPINFO_TESTS_UNIT_KXEMGR_CONSOLE_UPLOADS_H
#define KXEPINFO_TESTS_UNIT_KXEMGR_CONSOLE_UPLOADS_H

#include <cstdint>
#include <string>

#include "common/upload.h"

namespace kxtest {

// What no text of an agent may ever become in any answer.
inline constexpr char kMarkup[] = "<script>alert(\"'&\\1\")</script>";

// With usage and facts, from a machine that is made of the number 1 to 9, received that many
// milliseconds after the epoch.
inline kxapp::Upload MakeUpload(std::uint32_t agent_id, std::int64_t received_ms,
                                const std::string& host_name = "build-7", int machine = 1) {
    kxapp::Upload upload;
    upload.received = {received_ms / 1000, received_ms % 1000 * 1'000'000};
    upload.from = "agt_ei";
    upload.message.set_cmd(6);
    upload.message.set_agent_id(agent_id);
    auto& usage = *upload.message.mutable_rc_info();
    usage.set_cpu_usage(1246);
    usage.set_mem_usaged(1000);
    usage.set_mem_total(4000);
    auto& system = *upload.message.mutable_sys_info();
    system.mutable_base_info()->set_host_node(host_name);
    system.mutable_base_info()->set_sys_distro("Debian 12");
    system.mutable_base_info()->set_uvmid(static_cast<std::uint64_t>(machine));
    system.mutable_nw_info()->add_if_info()->set_if_mac("00-00-00-00-00-0" +
                                                        std::to_string(machine));
    system.mutable_agent_info()->set_agent_version("3.2.10");
    return upload;
}

// With usage alone.
inline kxapp::Upload MakeUsage(std::uint32_t agent_id, std::int64_t received_ms,
                               std::uint32_t cpu) {
    kxapp::Upload upload = MakeUpload(agent_id, received_ms);
    upload.message.set_cmd(2);
    upload.message.clear_sys_info();
    upload.message.mutable_rc_info()->set_cpu_usage(cpu);
    return upload;
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_KXEMGR_CONSOLE_UPLOADS_H
