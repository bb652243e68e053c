#include "schema_table.h"

// clang-format off
const Table kEpinfoMessages = {
    {"epinfo", {
        "1 uint32 cmd", "2 uint32 agent_id", "3 epinfo_msg_rc rc_info",
        "4 epinfo_msg_sys sys_info", "5 epinfo_msg_login login_info", "6 epinfo_msg_ui ui_info",
        "7 epinfo_msg_trust trust_info", "8 uint64 agent_timestamp",
        "9 epinfo_msg_custom custom_info"}},
    {"epinfo_msg_notify", {
        "1 uint32 notify_type", "2 uint64 notify_time", "3 string notify_content"}},
    {"epinfo_msg_rc", {
        "1 uint32 cpu_usage", "2 uint32 mem_total", "3 uint32 mem_usaged",
        "4 uint32 disk_read_speed", "5 uint32 disk_write_speed"}},
    {"epinfo_msg_base", {
        "1 string host_node", "2 int32 host_plat", "3 int32 host_type", "4 int32 physical",
        "5 string sys_release", "6 string sys_version", "7 string sys_machine",
        "8 string sys_distro", "9 int32 cpu_core", "10 uint64 uVmid", "11 int64 start_up_time",
        "12 bool is_changed", "13 uint32 agent_patch_flag", "14 string containerId",
        "15 uint64 recal_timestamp"}},
    {"epinfo_msg_if", {
        "1 string if_mac", "2 repeated string if_ipv4", "3 repeated string if_ipv6"}},
    {"epinfo_msg_nw", {
        "1 repeated epinfo_msg_if if_info", "2 bool is_ip_changed"}},
    {"epinfo_msg_trust_info", {
        "1 string trust_path", "2 TRUST_TYPE trust_type", "3 int64 trust_time"}},
    {"epinfo_msg_change", {
        "1 SYS_INFO_CHANGED is_changed"}},
    {"epinfo_msg_agentinfo", {
        "1 string agent_version", "2 string virus_version", "3 string patchdb_version",
        "4 string strUser", "5 string strWorkNum", "6 string strTel", "7 string strEmail",
        "8 string strStruct", "9 string strHostName", "10 string strProdNum",
        "11 string strPosistion", "12 string save_model_ver", "13 string ioadb_version",
        "14 string iocdb_version", "15 string save_ver", "16 string strUnit",
        "17 string strZoneId", "18 string strUserSrc", "19 string strGroupPath",
        "20 string mgr_addr", "21 string brand_version"}},
    {"epinfo_msg_usr", {
        "1 string login_time", "2 string login_name", "3 string login_ip"}},
    {"epinfo_msg_login", {
        "1 repeated epinfo_msg_usr usr_info"}},
    {"epinfo_msg_account", {
        "1 string login_account", "2 string domain"}},
    {"epinfo_msg_sys", {
        "1 epinfo_msg_base base_info", "2 epinfo_msg_nw nw_info",
        "3 epinfo_msg_agentinfo agent_info", "4 epinfo_msg_change change",
        "5 epinfo_msg_account account_info"}},
    {"epinfo_msg_device_info", {
        "1 string Manufacturer", "2 string ProductName", "3 string Version",
        "4 string SerialNumber"}},
    {"epinfo_msg_custom", {
        "1 epinfo_msg_device_info device_info", "2 string deviceRecord_ID", "3 int64 powerOnTime",
        "4 int64 powerOffTime", "5 string pacthInfo"}},
    {"epinfo_msg_ui", {
        "1 repeated uint32 agent_id"}},
    {"epinfo_msg_trust", {
        "1 repeated epinfo_msg_trust_info trust_info"}},
    {"epinfo_msg_respone", {
        "1 uint32 status", "2 uint32 cmd_type", "3 string res_msg", "4 int64 time_diff",
        "5 uint32 duplicate"}},
    {"group_info", {
        "1 string group_name", "2 string group_id", "3 string path"}},
    {"group_list", {
        "1 repeated group_info list"}},
    {"agent_lock_info", {
        "1 bool lock", "2 string group_full_path", "3 string group_id", "4 int32 group_type"}},
    {"epinfo_msg_base_gch", {
        "1 string host_node", "2 int32 host_plat", "3 int32 host_type", "4 int32 physical",
        "5 string sys_release", "6 string sys_version", "7 string sys_machine",
        "8 string sys_distro", "9 int64 start_up_time", "10 int32 cpu_core", "11 uint64 uVmid",
        "12 bool is_changed"}},
    {"epinfo_msg_sys_gch", {
        "1 epinfo_msg_base_gch base_info", "2 epinfo_msg_nw nw_info",
        "3 epinfo_msg_agentinfo agent_info", "4 epinfo_msg_change change",
        "5 epinfo_msg_account account_info"}},
    {"epinfo_gch", {
        "1 uint32 cmd", "2 uint32 agent_id", "3 epinfo_msg_rc rc_info",
        "4 epinfo_msg_sys_gch sys_info", "5 epinfo_msg_login login_info",
        "6 epinfo_msg_ui ui_info", "7 epinfo_msg_trust trust_info"}},
    {"agent_remarks_info", {
        "1 string user_name", "2 string work_num", "3 string tel_num", "4 string mail_num",
        "5 string local_num", "6 string asset_num", "7 string host_machine"}},
    {"agent_group_host", {
        "1 string group_name", "2 string host_name"}},
    {"agent_water_control_info", {
        "1 agent_group_host group_host", "2 agent_remarks_info remarks_info"}},
};
// clang-format on

// clang-format off
const Table kEpinfoEnums = {
    {"TRUST_TYPE", {
        "TRUST_UNKNOWN = 0", "TRUST_FILE = 1", "TRUST_DIR = 2", "TRUST_PROC = 4"}},
    {"SYS_INFO_CHANGED", {
        "UNDEFINED = 0", "IS_CHANGED = 1", "NOT_CHANGED = 2"}},
    {"msg_type", {
        "MSG_TPYE_NONE = 0", "UI_MGR_CHECK = 1", "AGT_MGR_RC = 2", "AGT_MGR_SYS = 4",
        "AGT_MGR_LOGIN = 8", "AGT_MGR_TRUST = 16", "AGT_MGR_CUSTOM = 32"}},
};
// clang-format on

// clang-format off
const Table kRebootMessages = {
    {"reboot_info", {
        "1 bool rb_enable", "2 reboot_src rb_src", "3 reboot_type rb_type", "4 string rb_msg",
        "5 uint64 rb_pop_time", "6 uint32 rb_delay_index", "7 repeated uint32 rb_delay_sec"}},
    {"shutdown_info", {
        "1 shutdown_src sd_src", "2 shutdown_type sd_type", "3 string sd_msg",
        "4 uint64 sd_pop_time"}},
};
// clang-format on

// clang-format off
const Table kRebootEnums = {
    {"reboot_cmd", {
        "IPC_CMD_UNKNOWN = 0", "IPC_CMD_M2A_AM_REBOOT = 1101", "IPC_CMD_M2A_AM_SHUTDOWN = 1102"}},
    {"reboot_src", {
        "RS_NONE = 0", "RS_AM = 1", "RS_LEAK = 2"}},
    {"reboot_type", {
        "RT_NONE = 0", "RT_NOW = 1", "RT_DELAY = 2"}},
    {"shutdown_src", {
        "SDS_NONE = 0", "SDS_AM = 1"}},
    {"shutdown_type", {
        "SDT_NONE = 0", "SDT_NOW = 1", "SDT_DELAY = 2"}},
};
// clang-format on
