#include "kxectl/online.h"

#include "common/keyvalue.h"

namespace kxectl {

std::optional<bool> ReadOnlineState(unsigned type, std::string_view data, std::string& fault) {
    if (type != kOnlineType) {
        fault = "an answer of type " + std::to_string(type) + " instead of " +
                std::to_string(kOnlineType);
        return std::nullopt;
    }
    const kxapp::FoundValue state = kxapp::FindInMessage(data, "online_state");
    if (!state.value) {
        fault =
            state.is_message ? "an answer without online_state" : "an answer that is no message";
        return std::nullopt;
    }
    if (*state.value != "1" && *state.value != "0") {
        fault = "the unknown online_state '" + *state.value + "'";
        return std::nullopt;
    }
    return *state.value == "1";
}

}  // namespace kxectl
