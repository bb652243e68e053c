// The agent's key/value messages as text values.
#ifndef KX_APPS_COMMON_KEYVALUE_H
#define KX_APPS_COMMON_KEYVALUE_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "xmsg.h"

namespace kxapp {

using Entries = std::vector<std::pair<std::string, std::string>>;

// The packed message of that name with these entries in their order. Throws std::runtime_error when
// there is no such message: a key twice, or more than a message can hold.
std::string PackMessage(const char* name, const Entries& entries);

// A packed message, taken apart once to be asked for several keys.
class UnpackedMessage {
  public:
    // Copies the bytes, which may come from anybody.
    explicit UnpackedMessage(std::string_view packed);

    bool is_message() const { return m_message != nullptr; }

    // The key's value, as long as this lives; nothing when there is no such key or no message.
    std::optional<std::string_view> find(std::string_view key) const;

  private:
    struct Release {
        void operator()(xmsg* message) const { xmsg_release(message); }
    };
    std::unique_ptr<xmsg, Release> m_message;
};

// What a key of a packed message says.
struct FoundValue {
    bool is_message = false;           // the bytes are a message at all
    std::optional<std::string> value;  // nothing when it has no such key
};
FoundValue FindInMessage(std::string_view packed, std::string_view key);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_KEYVALUE_H
