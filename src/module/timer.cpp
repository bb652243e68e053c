#include "module/timer.h"

#include "common/exitflag.h"
#include "common/log.h"
#include "module/cycle.h"

namespace {
constexpr char kLogTag[] = "kxepinfo";
}

void ProcessMainCb(cl_timerplus* timer) {
    if (timer == nullptr) {
        EP_LOG(kLogError, "argument timer is null\n");
        return;
    }
    const auto* const arg = static_cast<const _stTimerArg*>(timer->user);
    if (arg == nullptr || ReadExitFlag(arg->exit_flag) == 1) {
        return;
    }
    EP_LOG(kLogDebug, "stepped into timer callback function now...\n");
    (void)ProcessMain(arg->ipc, arg->exit_flag);  // the cycle has logged its failures
    if (ReadExitFlag(arg->exit_flag) == 1) {
        EP_LOG(kLogInformation, "user called exit routine, exiting now...\n");
    }
}
