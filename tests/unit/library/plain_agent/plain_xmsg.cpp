// Another library of key/value messages, whose packed form is its own (message.h).
#include <cerrno>
#include <map>
#include <memory>
#include <string>

#include "guarded.h"
#include "handles.h"
#include "message.h"
#include "watch.h"
#include "xmsg.h"

using plain::Call;

namespace {

constexpr char kMessage[] = "message";

}  // namespace

// Either one that is being made, or one that was unpacked.
struct xmsg {
    std::map<std::string, std::string> made;
    std::unique_ptr<plain::GuardedBytes> packed;
    std::map<std::string_view, std::string_view> unpacked;  // lies in `packed`
};

namespace {

bool IsMessage(const xmsg* msg, const char* function) {
    return plain::IsOut(msg, kMessage, function);
}

xmsg* HandOut(std::unique_ptr<xmsg> msg) {
    plain::HandOut(msg.get(), kMessage);
    return msg.release();
}

}  // namespace

xmsg* xmsg_new(const char* name) {
    Call call("xmsg_new");
    if (name == nullptr) {
        plain::Breach("a message without a name");
    }
    return call.MustFail() ? nullptr : HandOut(std::make_unique<xmsg>());
}

int xmsg_add(xmsg* msg, const char* key, uint16_t key_len, const char* value, uint32_t value_len) {
    Call call("xmsg_add");
    if (!IsMessage(msg, "xmsg_add") || call.MustFail()) {
        return ENOMEM;
    }
    const bool added =
        msg->made.emplace(std::string(key, key_len), std::string(value, value_len)).second;
    return added ? 0 : EEXIST;
}

uint32_t xmsg_pack_size(const xmsg* msg) {
    const Call call("xmsg_pack_size");
    return IsMessage(msg, "xmsg_pack_size") ? static_cast<uint32_t>(plain::Pack(msg->made).size())
                                            : 0;
}

int xmsg_pack(const xmsg* msg, char* buffer, uint32_t size) {
    Call call("xmsg_pack");
    if (!IsMessage(msg, "xmsg_pack") || call.MustFail()) {
        return -1;
    }
    const std::string packed = plain::Pack(msg->made);
    return packed.size() <= size ? static_cast<int>(packed.copy(buffer, size)) : -1;
}

// A nested message is unpacked with the length of the outer one, and its own header may lie: as
// many zero bytes as that length stand behind the copy.
xmsg* xmsg_unpack(const char* data, uint32_t len) {
    Call call("xmsg_unpack");
    if (data == nullptr) {
        plain::Breach("nothing to unpack");
        return nullptr;
    }
    const auto size = plain::PackedSize({data, len});
    if (!size || call.MustFail()) {
        return nullptr;
    }
    auto msg = std::make_unique<xmsg>();
    msg->packed = std::make_unique<plain::GuardedBytes>(std::string_view(data, *size), len);
    auto entries = plain::Unpack(msg->packed->view());
    if (!entries) {
        return nullptr;
    }
    msg->unpacked = std::move(*entries);
    return HandOut(std::move(msg));
}

const char* xmsg_get(const xmsg* msg, const char* key, uint16_t key_len, uint32_t* value_len,
                     uint32_t* flags) {
    Call call("xmsg_get");
    if (!IsMessage(msg, "xmsg_get") || call.MustFail()) {
        return nullptr;
    }
    const auto found = msg->unpacked.find({key, key_len});
    if (found == msg->unpacked.end()) {
        return nullptr;
    }
    *value_len = static_cast<uint32_t>(found->second.size());
    *flags = 0xffffffff;  // of no meaning
    return found->second.data();
}

void xmsg_release(xmsg* msg) {
    const Call call("xmsg_release");
    if (plain::TakeBack(msg, kMessage, "xmsg_release")) {
        delete msg;
    }
}
