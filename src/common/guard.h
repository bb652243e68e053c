// Keeps exceptions inside the module. What the worker runs is called from C: by the event loop, by
// the bus, by the thread library. An exception that reached them would end the host's process.
#ifndef KXEPINFO_COMMON_GUARD_H
#define KXEPINFO_COMMON_GUARD_H

#include <exception>

#include "common/log.h"

// Runs `function`; true when it returned. An exception, which in this module means that memory has
// run out, is logged at level 1 as the end of `what`, and false is returned: what the function had
// done so far stands. Other ways to leave a function, such as pthread_exit, pass through.
template <class Function>
bool GuardException(const char* what, Function function) {
    constexpr char kLogTag[] = "kxepinfo";
    try {
        function();
        return true;
    } catch (const std::exception& exception) {
        EP_LOG(kLogCritical, "%s ended early: %s", what, exception.what());
        return false;
    }
}

#endif  // KXEPINFO_COMMON_GUARD_H
