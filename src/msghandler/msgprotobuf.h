// The serializer for Protocol Buffers. For one upload: nothing resets it for another.
#ifndef KXEPINFO_MSGHANDLER_MSGPROTOBUF_H
#define KXEPINFO_MSGHANDLER_MSGPROTOBUF_H

#include <string>

#include "epinfo.pb.h"
#include "msghandler/msgbase.h"

class CMsgProtobuf : public virtual CMsgBase {
  public:
    CMsgProtobuf();
    ~CMsgProtobuf() override;

    int AddDataToSerialize(void* data, _PROTO_MSG_TYPE type) override;
    int DoMsgSerialize(std::string& out) override;

  private:
    bf_kxepinfo::epinfo m_epinfo;  // the sections added so far
};

#endif  // KXEPINFO_MSGHANDLER_MSGPROTOBUF_H
