#include "ipc/cfgparser.h"

#include <cstdlib>
#include <cstring>

#include "common/log.h"
#include "ipc/heapbuffer.h"
#include "ipc/xmsgowner.h"
#include "kxe_base.h"

namespace {

constexpr char kLogTag[] = "cfgparser";
constexpr std::size_t kAddressSize = 64;  // of the text of an address with its terminating zero

using Addresses = std::map<std::string, std::string>;

HeapBuffer Pack(const xmsg* msg, int& len) {
    const uint32_t size = xmsg_pack_size(msg);
    HeapBuffer buffer = NewZeroed(size);
    if (buffer == nullptr) {
        EP_LOG(kLogError, "out of memory");
        return nullptr;
    }
    // A negative result is a failure too: it must never become a length to send.
    const int packed = xmsg_pack(msg, buffer.get(), size);
    if (packed <= 0) {
        EP_LOG(kLogError, "xmsg_pack failed.");
        return nullptr;
    }
    len = packed;
    return buffer;
}

// Adds the addresses of all indices below `count`; stops at the first that is absent, so a count
// without addresses behind it costs nothing, however large.
bool CollectAddresses(const XmsgOwner& packed, long count, Addresses& addresses) {
    for (long index = 0; index < count; ++index) {
        char key[kIpKeySize] = {};
        FormatIpKey(index, key);
        const char* const address = GetText(packed, key);
        if (address == nullptr) {
            return false;
        }
        if (std::strlen(address) < kAddressSize) {
            addresses.emplace(key, address);
        }
    }
    return true;
}

}  // namespace

char* BuildReqCfgXmsgData(unsigned modules, int& len) {
    len = 0;
    if (modules != kCfgGlobal) {
        EP_LOG(kLogError, "invalid cmd to get module config");
        return nullptr;
    }
    const XmsgOwner msg(xmsg_new("global"));
    if (msg == nullptr) {
        EP_LOG(kLogError, "xmsg_new for %s failed", "global");
        return nullptr;
    }
    if (xmsg_add(msg.get(), "module", 6, "global", 6) != 0) {
        EP_LOG(kLogError, "xmsg_add module key [%s] => value [%s] failed ", "module", "global");
        return nullptr;
    }
    return Pack(msg.get(), len).release();
}

bool GetNotifyCfgModlues(const char* data, unsigned len, unsigned& modules) {
    if (data == nullptr || len == 0) {
        EP_LOG(kLogError, "msg null");
        return false;
    }
    const XmsgOwner msg(xmsg_unpack(data, len));
    if (msg == nullptr) {
        EP_LOG(kLogError, "xmsg_unpack failed");
        return false;
    }
    if (GetText(msg, "global") == nullptr) {
        return false;
    }
    modules = kCfgGlobal;
    return true;
}

bool GetIpConfInfo(const char* data, unsigned len, Addresses& ips) {
    const XmsgOwner msg(xmsg_unpack(data, len));
    if (msg == nullptr) {
        EP_LOG(kLogError, "xmsg_unpack pXmsgData failed");
        return false;
    }
    const char* const count_text = GetText(msg, "count");
    if (count_text == nullptr) {
        return false;
    }
    const long count = std::strtol(count_text, nullptr, 10);
    const char* const packed = GetText(msg, "multi_ip");
    if (packed == nullptr) {
        return false;
    }
    // The length of the outer message, not of the value: a packed message says its own length, and
    // the library keeps as many bytes readable behind it.
    const XmsgOwner nested(xmsg_unpack(packed, len));
    if (nested == nullptr) {
        EP_LOG(kLogError, "xmsg_unpack pXmsgIpData failed");
        return false;
    }
    return CollectAddresses(nested, count, ips);
}

void FormatIpKey(long index, char (&key)[kIpKeySize]) {
    (void)str_snprintf(key, sizeof key, "ip%ld", index);
}
