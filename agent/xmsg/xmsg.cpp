#include "xmsg.h"

#include <cerrno>
#include <cstring>
#include <limits>
#include <new>
#include <string_view>

#include "message.h"

namespace {

// Null stands for no bytes, and only for that.
bool IsSound(const char* bytes, std::uint32_t length) {
    return bytes != nullptr || length == 0;
}

std::string_view View(const char* bytes, std::uint32_t length) {
    return bytes == nullptr ? std::string_view() : std::string_view(bytes, length);
}

}  // namespace

xmsg* xmsg_new(const char* name) {
    constexpr std::size_t kLongestName = std::numeric_limits<std::uint16_t>::max();
    if (name == nullptr || strnlen(name, kLongestName + 1) > kLongestName) {
        return nullptr;
    }
    try {
        return xmsg::New(name).release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

int xmsg_add(xmsg* msg, const char* key, uint16_t key_len, const char* value, uint32_t value_len) {
    if (msg == nullptr || !IsSound(key, key_len) || !IsSound(value, value_len)) {
        return EINVAL;
    }
    try {
        return msg->Add(View(key, key_len), View(value, value_len));
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

uint32_t xmsg_pack_size(const xmsg* msg) {
    return msg == nullptr ? 0 : static_cast<std::uint32_t>(msg->Packed().size());
}

int xmsg_pack(const xmsg* msg, char* buffer, uint32_t size) {
    if (msg == nullptr || buffer == nullptr || size < msg->Packed().size()) {
        return -1;
    }
    const std::string_view packed = msg->Packed();
    std::memcpy(buffer, packed.data(), packed.size());
    return static_cast<int>(packed.size());
}

xmsg* xmsg_unpack(const char* data, uint32_t len) {
    if (data == nullptr) {
        return nullptr;
    }
    try {
        return xmsg::Unpack(data, len).release();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

const char* xmsg_get(const xmsg* msg, const char* key, uint16_t key_len, uint32_t* value_len,
                     uint32_t* flags) {
    std::optional<std::string_view> value;
    if (msg != nullptr && IsSound(key, key_len)) {
        value = msg->Find(View(key, key_len));
    }
    if (value_len != nullptr) {
        *value_len = value ? static_cast<std::uint32_t>(value->size()) : 0;
    }
    if (flags != nullptr) {
        *flags = 0;
    }
    return value ? value->data() : nullptr;
}

void xmsg_release(xmsg* msg) {
    delete msg;
}
