// What became of a request.
#ifndef KX_APPS_KXECTL_OUTCOME_H
#define KX_APPS_KXECTL_OUTCOME_H

#include <string>

namespace kxectl {

struct Outcome {
    bool arrived = false;  // otherwise it is still waited for, or a signal ended the wait
    int status = 0;        // 0: answered; else the bus's error code
    unsigned type = 0;
    std::string data;
};

// A response callback of the bus (nox_ipc.h) whose `user` is the Outcome to fill.
void KeepOutcome(int status, unsigned type, const char* data, unsigned len, void* user);

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_OUTCOME_H
