#include "sample_records.h"

_stResmon SampleResmon() {
    return {.cpu_usage = 1205, .mem_total = 8062440, .mem_used = 2071556};
}

_stAgentInfo SampleAgent() {
    _stAgentInfo agent;
    agent.sys_info = {.host_type = 1,
                      .is_virtual = 1,
                      .host_plat = 4,
                      .cpu_core = 8,
                      .uVmid = 0xFEDCBA9876543210,
                      .host_node = "node",
                      .sys_release = "release",
                      .sys_version = "version",
                      .sys_machine = "machine",
                      .sys_distro = "distro",
                      .spare_kind = 55,
                      .spare_value = 66,
                      .containerId = "container",
                      .recal_timestamp = 1700000001};
    agent.ext_info = {.agent_version = "agent",
                      .virus_version = "virus",
                      .patchdb_version = "patch",
                      .ioadb_version = "ioa",
                      .iocdb_version = "ioc",
                      .reserved_ext1 = "r1",
                      .reserved_ext2 = "r2",
                      .reserved_ext3 = "r3",
                      .mgr_addr = "10.0.0.1"};
    agent.reserved_agent1 = "ra1";
    agent.reserved_agent2 = "ra2";
    agent.adapters = {{.if_mac = "00-01",
                       .if_name = "eth0",
                       .if_ipv4 = {"10.0.0.2", "10.0.0.3"},
                       .if_ipv6 = {"fe80::1"}},
                      {.if_mac = "00-02", .if_name = "eth1", .if_ipv4 = {}, .if_ipv6 = {}}};
    agent.is_ip_changed = true;
    agent.change_state = 2;
    return agent;
}

_stUsrLogInfo SampleLogin() {
    return {.login_time = "2024-03-01 09:05:07",
            .login_name = std::string("alice\0\0\0", 8),
            .login_ip = std::string("10.0.0.9\0\0", 10)};
}
