#include "common/misbehave.h"

#include <sys/random.h>

#include <stdexcept>

namespace kxapp {

Delivery DeliveryUnder(std::string_view fault) {
    if (fault == kSilent.name) {
        return Delivery::kNever;
    }
    if (fault == kSlow.name) {
        return Delivery::kLate;
    }
    return fault == kClose.name ? Delivery::kClose : Delivery::kNow;
}

std::string Garbage() {
    std::string bytes(64, '\0');
    // The kernel gives up to 256 bytes whole.
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
        throw std::runtime_error("no random bytes");
    }
    return bytes;
}

}  // namespace kxapp
