// Between plain records and the messages of the wire schema: an upload is filled from records,
// stamped and encoded, an answer is decoded, and the sections of a message are read back.
//
// All of it runs on the worker's thread. The functions that write to a message create the section
// they fill and never fail. The Get...FromProto functions return false when the section they read
// is missing and then leave the record as it was. "The default instance" is the one that the
// protobuf runtime shares among all messages that do not exist; it never counts as a message.
#ifndef KXEPINFO_MSGHANDLER_KXEPPROTO_H
#define KXEPINFO_MSGHANDLER_KXEPPROTO_H

#include <cstdint>
#include <string>

#include "common/records.h"
#include "epinfo.pb.h"

// Each adds one section and sets its msg_type bit in cmd, keeping the other sections. A section
// that is already there is filled anew: its lists are emptied first.
void AddResmonToProto(const _stResmon& rec, bf_kxepinfo::epinfo& msg);
void AddAgentToProto(const _stAgentInfo& rec, bf_kxepinfo::epinfo& msg);
void AddUsrLogToProto(const _stUsrLogInfo& rec, bf_kxepinfo::epinfo& msg);

// Zeroes cmd, agent_id and agent_timestamp and removes the sections rc_info, sys_info, ui_info and
// login_info. trust_info and custom_info stay: they are not this module's.
void ClearEpinfo(bf_kxepinfo::epinfo& msg);

// Stamps agent_id (nox_get_hostid, kept while the library is loaded once it is known) and
// agent_timestamp (kxe_time, seconds since the epoch), then encodes. False when the agent's id is
// unknown, and `out` is untouched; false when the encoding fails, and `out` holds nothing of use.
bool ProtoToString(bf_kxepinfo::epinfo& msg, std::string& out);

// Decode the whole of `bytes`; false when they are no such message, and `msg` then holds what was
// read before the fault.
bool ParseEpinfoFromStr(const std::string& bytes, bf_kxepinfo::epinfo& msg);
bool ParseRespMsgFromStr(const std::string& bytes, bf_kxepinfo::epinfo_msg_respone& msg);

// Copies the five fields of an answer. Always true.
bool GetResponFromProto(const bf_kxepinfo::epinfo_msg_respone& msg, _mgrRespondMsg& out);

// The fields cmd and agent_id as they stand.
uint32_t GetCmdFromProto(const bf_kxepinfo::epinfo& msg);
uint32_t GetAgentId(const bf_kxepinfo::epinfo& msg);

bool GetResmonFromProto(const bf_kxepinfo::epinfo& msg, _stResmon& out);

// The first login of the section; three empty strings when it lists none.
bool GetLoginFromProto(const bf_kxepinfo::epinfo& msg, _stUsrLogInfo& out);

// Needs the parts base_info, agent_info and nw_info of the section. Reads back what identifies a
// host and not all that is sent: containerId, recal_timestamp, is_ip_changed, change_state and all
// versions but agent_version and virus_version keep the values they have in `out`.
bool GetAgentFromProto(const bf_kxepinfo::epinfo& msg, _stAgentInfo& out);

// Always false, whatever the arguments: a place kept for readers that will look for an id in the
// list of ui_info.
bool IsInAgentIds(const bf_kxepinfo::epinfo& msg, std::string id);

#endif  // KXEPINFO_MSGHANDLER_KXEPPROTO_H
