#include "ipc/response.h"

#include <string>

#include "common/guard.h"
#include "common/log.h"
#include "common/state.h"
#include "epinfo.pb.h"
#include "ipc/cloneflags.h"
#include "ipc/frame.h"
#include "msghandler/kxepproto.h"
#include "nox_ipc.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

// Makes the next cycle find a change in what the manager may not have got. Exactly these fields:
// the others keep their values.
void ForgetLastUpload() {
    _stSysInfo& sys_info = s_lastAgentInfo.sys_info;
    sys_info.host_type = 0;
    sys_info.is_virtual = 0;
    sys_info.host_plat = 0;
    sys_info.cpu_core = 0;
    sys_info.host_node.clear();
    sys_info.sys_release.clear();
    sys_info.sys_version.clear();
    sys_info.sys_machine.clear();
    sys_info.sys_distro.clear();
    sys_info.containerId.clear();
    s_lastAgentInfo.ext_info.agent_version.clear();
    s_lastAgentInfo.ext_info.virus_version.clear();
    s_lastAgentInfo.adapters.clear();
    s_lastUsrLogInfo.login_time.clear();
    s_lastUsrLogInfo.login_name.clear();
    s_lastUsrLogInfo.login_ip.clear();
}

void CountFailure() {
    // The test comes before the increment: offline is the fifth failure in a row, not the fourth.
    if (Attempt_Times > 3) {
        g_preOnlineState = 0;
    }
    Attempt_Times += 1;
    ForgetLastUpload();
}

// Whether the manager has accepted the upload, by an answer that could be read.
bool IsAccepted(const char* data, unsigned len) {
    _mgrRespondMsg answer;
    if (ParseIpcMsg(data, len, answer) != 0) {
        EP_LOG(kLogError, "parse kxepinfo response msg from mgr fail\n");
        return false;
    }
    EP_LOG(kLogDebug, "The time difference between MGR and Agent is [%lld]",
           static_cast<long long>(answer.time_diff));
    if (answer.status == 0) {
        EP_LOG(kLogError, "send msg <type: %u> to mgr failed with error: %s\n", answer.cmd_type,
               answer.res_msg.c_str());
        return false;
    }
    EP_LOG(kLogDebug, "send msg <type: %u> to mgr success\n", answer.cmd_type);
    if (answer.duplicate != 0) {
        MarkAsClone(answer.duplicate);
    }
    return true;
}

}  // namespace

int ParseIpcMsg(const char* data, unsigned len, _mgrRespondMsg& out) {
    if (!IsFrameSize(len)) {
        EP_LOG(kLogError, "msg check failed, lenth is %u", len);
        return -1;
    }
    // The bus hands out memory that the callback may write to.
    const FrameHeader header = ConvertFrameHeader(const_cast<char*>(data));
    if (!HoldsPayload(header, len)) {
        EP_LOG(kLogError,
               "parse mgr response fail, message size not match, header size=%d, msg size=%lu, "
               "receive size=%lu\n",
               static_cast<int>(kFrameHeaderSize),
               static_cast<unsigned long>(header.payload_length), static_cast<unsigned long>(len));
        return -1;
    }
    const std::string payload(data + kFrameHeaderSize, header.payload_length);
    if (header.payload_type != kPayloadProtobuf) {
        EP_LOG(kLogError, "ParseIpcMsg,not support type:%x", unsigned{header.payload_type});
        return -1;
    }
    bf_kxepinfo::epinfo_msg_respone message;
    if (!ParseRespMsgFromStr(payload, message)) {
        EP_LOG(kLogError, "parse reponse msg from protobuf failed\n");
        return -1;
    }
    if (!GetResponFromProto(message, out)) {
        EP_LOG(kLogError, "parse kxepinfo respond msg from protobuf failed\n");
        return -1;
    }
    return 0;
}

void IpcOnResponse(int status, unsigned /*type*/, const char* data, unsigned len, void* /*ctx*/) {
    EP_LOG(kLogDebug, "step into ipc responed function\n");
    if (status != 0 || data == nullptr) {
        EP_LOG(kLogError, "send msg to mgr failed with error msg: %s\n", nox_ipc_strerror(status));
        CountFailure();
        return;
    }
    bool accepted = false;
    (void)GuardException("the manager's answer", [&] {
        // The link stands, even when what came over it turns out to be unreadable.
        g_strPreConnectIp = g_strCurConnectIp;
        accepted = IsAccepted(data, len);
    });
    if (!accepted) {
        CountFailure();
        return;
    }
    Attempt_Times = 0;
    g_preOnlineState = 1;
}
