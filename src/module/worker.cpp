#include "module/worker.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>

#include "cl_ev.h"
#include "collectors/leftbehind.h"
#include "common/exitflag.h"
#include "common/log.h"
#include "common/path.h"
#include "ipc/cfgrequest.h"
#include "ipc/epinfoipc.h"
#include "ipc/inbound.h"
#include "module/cycle.h"
#include "module/protobuf_log.h"
#include "module/settings.h"
#include "module/signals.h"
#include "module/timer.h"
#include "nox_id.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

constexpr std::size_t kLogConfigPathSize = 16384;
constexpr int kLogFiles = 5;
constexpr unsigned kGlobalConfiguration = 2;
constexpr useconds_t kPause = 100000;  // microseconds, between two passes of the event loop

void PrepareLog() {
    char config[kLogConfigPathSize] = {};
    char output[kPathSize] = {};
    ep_dirutils_path_transform("@/../config/log/agent/kxepinfo/agent", config, sizeof config);
    if (access(config, F_OK) != 0) {
        (void)epdirutils_mkdir(config, 0755);  // the log has defaults without it
    }
    ep_dirutils_path_transform("@/../var/log/agent/kxepinfo", output, sizeof output);
    (void)autolog_init(output, kLogFiles);  // a log that cannot be written stops nothing
}

// 0 when the module is on the bus and can be reached.
int JoinBus(CEpInfoIpc& ipc) {
    if (ipc.IpcInit() == -1) {
        EP_LOG(kLogError, "Initialize IPC in kxepinfo failed with error code %d", -1);
        return -1;
    }
    if (ipc.RegisterIpcRecvReqCallback(IpcOnReqRecv, &ipc) == -1) {
        EP_LOG(kLogError, "Initialize IpcRecvCallback in kxepinfo failed with error code: %u",
               static_cast<unsigned>(-1));
        return -1;
    }
    // The bus library's own error codes, which come through here, do not stop the module: without
    // notifications it still uploads.
    if (ipc.RegisterIpcRecvCallback(IpcOnMsgRecv, &ipc) == -1) {
        EP_LOG(kLogError, "Initialize IpcRecvCallback in kxepinfo failed");
        return -1;
    }
    return 0;
}

// False when the worker is to stop.
bool RunFirstCycle(CEpInfoIpc& ipc, int* exit_flag) {
    const int error = ProcessMain(&ipc, exit_flag);
    if (error == 0) {
        return true;
    }
    if (ReadExitFlag(exit_flag) == 1) {
        EP_LOG(kLogInformation, "user called exit process, exiting now...\n");
        return false;
    }
    EP_LOG(kLogError, "failed to excute kxepinfo module main process with error code: %d\n", error);
    return true;
}

bool ArmTimer(CEpInfoIpc& ipc, int* exit_flag, _stTimerArg& timer_arg) {
    const int gap = GetFlushGap();
    EP_LOG(kLogInformation, "upload gap is %d\n", gap);
    timer_arg.ipc = &ipc;
    timer_arg.exit_flag = exit_flag;
    timer_arg.interval_ms = static_cast<int32_t>(int64_t{gap} * 1000);
    if (cl_timerplus_start(0, timer_arg.interval_ms, ProcessMainCb, &timer_arg) == nullptr) {
        EP_LOG(kLogError, "start timer failed in kxepinfo main routine");
        return false;
    }
    return true;
}

void ServeEventLoop(int* exit_flag) {
    bool alive = true;
    while (alive && ReadExitFlag(exit_flag) == 0) {
        alive = cl_event_loop_once() != 0;
        (void)usleep(kPause);
    }
}

int UseBus(CEpInfoIpc& ipc, int* exit_flag, _stTimerArg& timer_arg) {
    if (JoinBus(ipc) != 0) {
        return -1;
    }
    ReqCfgBySubModuleEx(&ipc, kGlobalConfiguration);
    if (RunFirstCycle(ipc, exit_flag) && ArmTimer(ipc, exit_flag, timer_arg)) {
        ServeEventLoop(exit_flag);
    }
    return 0;
}

int Work(int* exit_flag, _stTimerArg& timer_arg) {
    if (exit_flag == nullptr) {
        EP_LOG(kLogError, "Exit flag not setted, can not contiune, error code: %u\n",
               static_cast<unsigned>(-1));
        return -1;
    }
    EP_LOG(kLogInformation, "kxepinfo module work thread working...\n");
    const uint32_t agent_id = nox_get_hostid();
    EP_LOG(kLogDebug, "s_AgentId= %u", agent_id);

    const std::unique_ptr<CEpInfoIpc> ipc(new (std::nothrow) CEpInfoIpc);
    if (ipc == nullptr) {
        EP_LOG(kLogError, "new ipc struct failed with with error code: %d\n", ENOMEM);
        return ENOMEM;
    }
    const int result = UseBus(*ipc, exit_flag, timer_arg);
    ipc->IpcUnit();
    ForgetLeftBehind();
    return result;
}

}  // namespace

void* epInfoSchedule(void* exit_flag) {
    BlockSignals();
    const ProtobufLog protobuf_log;
    _stTimerArg timer_arg{};
    PrepareLog();
    const int result = Work(static_cast<int*>(exit_flag), timer_arg);
    EP_LOG(kLogInformation, "kxepinfo module work thread exit\n");
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an exit value, never followed as a pointer
    return reinterpret_cast<void*>(static_cast<intptr_t>(result));
}
