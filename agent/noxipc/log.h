// The bus's way into the agent's log.
#ifndef NOXIPC_LOG_H
#define NOXIPC_LOG_H

#include "autolog.h"

namespace noxipc {

enum : int { kLogError = 2, kLogInformation = 3, kLogDebug = 4 };

}  // namespace noxipc

// Logs a printf-style message. No argument is evaluated when the level is disabled.
#define NOX_LOG(level, ...)                                         \
    do {                                                            \
        if (error_output_check(level) != 0) {                       \
            error_output((level), "noxipc", __LINE__, __VA_ARGS__); \
        }                                                           \
    } while (0)

#endif  // NOXIPC_LOG_H
