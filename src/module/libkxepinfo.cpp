// The entry points that the host calls.
#include "cl_ev.h"
#include "common/exitflag.h"
#include "common/log.h"
#include "kxepinfo.h"
#include "module/lifecycle.h"
#include "module/worker.h"

// Not every event-loop library can be woken. Without it a stop takes effect when the library's own
// wait ends.
extern "C" void cl_event_loop_wake(pthread_t thread) __attribute__((weak));

pthread_t s_workThread = 0;

namespace {

constexpr char kLogTag[] = "libkxepinfo";

void WakeWorker() {
    if (cl_event_loop_wake != nullptr) {
        cl_event_loop_wake(s_workThread);
    }
}

}  // namespace

int kxepinfo_init() {
    EP_LOG(kLogInformation, "kxepinfo init\n");
    const pthread_t before = s_workThread;
    const int error = cl_ev_create_isolated_thread(&s_workThread, 0, epInfoSchedule, &s_exitFlag);
    if (error != 0) {
        s_workThread = before;  // a library may have stored the handle of a thread that is gone
        EP_LOG(kLogError, "create thread return error, return %d", error);
    } else {
        EP_LOG(kLogInformation, "create thread ok\n");
    }
    return error;
}

int kxepinfo_uninit() {
    EP_LOG(kLogInformation, "kxepinfo uninit\n");
    WriteExitFlag(&s_exitFlag, 1);
    // A host that stops a module it never started has no thread to wait for.
    if (s_workThread != 0) {
        WakeWorker();
        (void)pthread_join(s_workThread, nullptr);
    }
    EP_LOG(kLogInformation, "thread exit ok\n");
    s_workThread = 0;
    WriteExitFlag(&s_exitFlag, 0);
    return 0;
}
