#include "kxectl/outcome.h"

namespace kxectl {

void KeepOutcome(int status, unsigned type, const char* data, unsigned len, void* user) {
    Outcome& outcome = *static_cast<Outcome*>(user);
    outcome.arrived = true;
    outcome.status = status;
    outcome.type = type;
    if (status == 0 && data != nullptr) {
        outcome.data.assign(data, len);
    }
}

}  // namespace kxectl
