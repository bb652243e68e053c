#include "msghandler/msgbase.h"

#include <new>

#include "common/log.h"
#include "msghandler/msgprotobuf.h"

namespace {
constexpr char kLogTag[] = "kxepinfo";
}

bool InitMsgSerializer(CMsgBase** out, int kind) {
    if (kind != MSG_SERIALIZER_PROTOBUF) {
        EP_LOG(kLogInformation, "this type<%d> of msg transfromation protocal is not supported\n",
               kind);
        return false;
    }
    *out = new (std::nothrow) CMsgProtobuf;
    if (*out == nullptr) {
        EP_LOG(kLogError, "new serializer for protobuf failed\n");
        return false;
    }
    return true;
}
