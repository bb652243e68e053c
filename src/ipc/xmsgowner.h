// Owns a key/value message.
#ifndef KXEPINFO_IPC_XMSGOWNER_H
#define KXEPINFO_IPC_XMSGOWNER_H

#include <cstdint>
#include <memory>
#include <string_view>

#include "xmsg.h"

struct ReleaseXmsg {
    void operator()(xmsg* msg) const { xmsg_release(msg); }
};
using XmsgOwner = std::unique_ptr<xmsg, ReleaseXmsg>;

// The value of a short key as text, which ends at its first zero byte; null when the key is absent.
// It belongs to the message.
inline const char* GetText(const XmsgOwner& msg, std::string_view key) {
    uint32_t value_len = 0;
    uint32_t flags = 0;
    return xmsg_get(msg.get(), key.data(), static_cast<uint16_t>(key.size()), &value_len, &flags);
}

#endif  // KXEPINFO_IPC_XMSGOWNER_H
