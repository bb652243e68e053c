// The module's way into the agent's log library.
#ifndef KXEPINFO_COMMON_LOG_H
#define KXEPINFO_COMMON_LOG_H

#include "autolog.h"

// Log levels of the agent.
enum : int {
    kLogCritical = 1,     // a failure that threatens the process or a shared lock
    kLogError = 2,        // something failed
    kLogInformation = 3,  // start, stop, decisions, changes, defaults taken
    kLogDebug = 4,        // detail of each cycle
};

// Logs a printf-style message under the file's kLogTag. No argument is evaluated when the level is
// disabled.
#define EP_LOG(level, ...)                                         \
    do {                                                           \
        if (error_output_check(level) != 0) {                      \
            error_output((level), kLogTag, __LINE__, __VA_ARGS__); \
        }                                                          \
    } while (0)

#endif  // KXEPINFO_COMMON_LOG_H
