// The facts of one collection cycle, as plain values. A record owns its strings and lists and is
// copied by value; it knows neither where a fact comes from nor how it is sent.
#ifndef KXEPINFO_COMMON_RECORDS_H
#define KXEPINFO_COMMON_RECORDS_H

#include <cstdint>
#include <string>
#include <vector>

// Processor and memory load.
struct _stResmon {
    uint32_t cpu_usage = 0;  // hundredths of a percent, 0 to 10000
    uint32_t mem_total = 0;  // kB
    uint32_t mem_used = 0;   // kB
};

// What the host is. The first five fields have no value of their own before they are collected.
struct _stSysInfo {
    int32_t host_type = 0;   // always 1 once collected
    int32_t is_virtual = 0;  // 1 under a known hypervisor, else 0
    int32_t host_plat = 0;   // 4: 64-bit, 3: any other
    int32_t cpu_core = 0;    // configured processors
    uint64_t uVmid = 0;      // virtual-machine id, 0 when it does not apply
    std::string host_node;
    std::string sys_release;
    std::string sys_version;
    std::string sys_machine;
    std::string sys_distro;  // distribution and version
    int32_t spare_kind = 5;
    int64_t spare_value = 0;
    std::string containerId;
    uint64_t recal_timestamp = 0;  // seconds since the epoch, 0 when the agent id was never redrawn
};

// One network adapter; if_name is the key by which adapters are matched and is not sent.
struct _stAdapterInfo {
    std::string if_mac;  // "00-1A-2B-3C-4D-5E"
    std::string if_name;
    std::vector<std::string> if_ipv4;
    std::vector<std::string> if_ipv6;
};

// Versions of the agent and of its databases, and the manager it is bound to.
struct _stExtInfo {
    std::string agent_version;
    std::string virus_version;
    std::string patchdb_version;
    std::string ioadb_version;
    std::string iocdb_version;
    std::string reserved_ext1;
    std::string reserved_ext2;
    std::string reserved_ext3;
    std::string mgr_addr;
};

// The three together, as one section of an upload.
struct _stAgentInfo {
    _stSysInfo sys_info;
    _stExtInfo ext_info;
    std::string reserved_agent1;
    std::string reserved_agent2;
    std::vector<_stAdapterInfo> adapters;
    bool is_ip_changed = false;
    uint32_t change_state = 0;  // a SYS_INFO_CHANGED value of the wire schema
};

// One entry of the login accounting file. Name and host carry the full width of the entry's fields,
// 32 and 256 bytes, with the zero bytes behind the text; or all three are empty.
struct _stUsrLogInfo {
    std::string login_time;  // local time, "%Y-%m-%d %H:%M:%S"
    std::string login_name;
    std::string login_ip;
};

// The manager's answer to one upload.
struct _mgrRespondMsg {
    uint32_t status = 0;     // non-zero: accepted
    uint32_t cmd_type = 0;   // the cmd of the upload that is answered
    std::string res_msg;     // why it was refused
    int64_t time_diff = 0;   // seconds, the manager's clock minus the agent's
    uint32_t duplicate = 0;  // non-zero: this agent's identity was seen on another machine
};

#endif  // KXEPINFO_COMMON_RECORDS_H
