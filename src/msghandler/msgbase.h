// The serializer through which a collection cycle builds one upload: records go in one at a time,
// bytes come out. It keeps the cycle independent of the encoding. Used on the worker's thread only.
#ifndef KXEPINFO_MSGHANDLER_MSGBASE_H
#define KXEPINFO_MSGHANDLER_MSGBASE_H

#include <string>

// Names the record that AddDataToSerialize adds. The numbers are the bits of the wire schema's
// msg_type.
enum _PROTO_MSG_TYPE : int {
    AGT_MGR_RC = 2,     // _stResmon
    AGT_MGR_SYS = 4,    // _stAgentInfo
    AGT_MGR_LOGIN = 8,  // _stUsrLogInfo
};

// Encodings that InitMsgSerializer knows.
inline constexpr int MSG_SERIALIZER_PROTOBUF = 1;

class CMsgBase {
  public:
    CMsgBase() = default;
    CMsgBase(const CMsgBase&) = delete;
    CMsgBase& operator=(const CMsgBase&) = delete;
    virtual ~CMsgBase() = default;

    // Adds one record. `data` points to a record of the kind that `type` names; it is copied. With
    // several bits set the lowest known one alone counts. 0, or -1 when no known bit is set.
    virtual int AddDataToSerialize(void* data, _PROTO_MSG_TYPE type) = 0;

    // Writes all that was added to `out`, stamped with the agent's id and the time. 0, or -1: when
    // nothing was added or the agent's id is unknown, `out` is untouched.
    virtual int DoMsgSerialize(std::string& out) = 0;
};

// Creates a serializer for the encoding `kind`; the caller owns and deletes *out. False when the
// encoding is unknown, and *out is as it was, or when memory is short, and *out is null.
bool InitMsgSerializer(CMsgBase** out, int kind);

#endif  // KXEPINFO_MSGHANDLER_MSGBASE_H
