#include "msghandler/msgprotobuf.h"

#include "common/log.h"
#include "msghandler/kxepproto.h"

namespace {

constexpr char kLogTag[] = "../msghandler/msgprotobuf";

static_assert(static_cast<int>(AGT_MGR_RC) == bf_kxepinfo::AGT_MGR_RC &&
                  static_cast<int>(AGT_MGR_SYS) == bf_kxepinfo::AGT_MGR_SYS &&
                  static_cast<int>(AGT_MGR_LOGIN) == bf_kxepinfo::AGT_MGR_LOGIN,
              "a record's type is its section's bit on the wire");

}  // namespace

CMsgProtobuf::CMsgProtobuf() {
    ClearEpinfo(m_epinfo);
}

CMsgProtobuf::~CMsgProtobuf() {
    ClearEpinfo(m_epinfo);
}

int CMsgProtobuf::AddDataToSerialize(void* data, _PROTO_MSG_TYPE type) {
    const int bits = type;
    if ((bits & AGT_MGR_RC) != 0) {
        AddResmonToProto(*static_cast<const _stResmon*>(data), m_epinfo);
    } else if ((bits & AGT_MGR_SYS) != 0) {
        AddAgentToProto(*static_cast<const _stAgentInfo*>(data), m_epinfo);
    } else if ((bits & AGT_MGR_LOGIN) != 0) {
        AddUsrLogToProto(*static_cast<const _stUsrLogInfo*>(data), m_epinfo);
    } else {
        return -1;
    }
    return 0;
}

int CMsgProtobuf::DoMsgSerialize(std::string& out) {
    // trust_info and custom_info do not count: this module never sends them on their own.
    if (!m_epinfo.has_login_info() && !m_epinfo.has_rc_info() && !m_epinfo.has_sys_info() &&
        !m_epinfo.has_ui_info()) {
        return -1;
    }
    if (!ProtoToString(m_epinfo, out)) {
        EP_LOG(kLogError, "failed to serialize protobuf in epinfo\n");
        return -1;
    }
    return 0;
}
