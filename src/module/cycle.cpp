#include "module/cycle.h"

#include <cerrno>
#include <memory>
#include <string>

#include "collectors/agentres.h"
#include "common/guard.h"
#include "common/log.h"
#include "common/records.h"
#include "ipc/epinfoipc.h"
#include "ipc/response.h"
#include "module/lifecycle.h"
#include "module/settings.h"
#include "msghandler/msgbase.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

constexpr int kUpload = 0;  // type of the request that carries an upload

// What one cycle has gathered so far.
struct Cycle {
    std::unique_ptr<CMsgBase> serializer;
    _stResmon resmon;
    std::string upload;  // empty until Serialise, and after it when that failed
    int status = 0;
};

bool CreateSerializer(Cycle& cycle) {
    CMsgBase* serializer = nullptr;
    if (!InitMsgSerializer(&serializer, MSG_SERIALIZER_PROTOBUF)) {
        EP_LOG(kLogError, "initialize msg serializer failed, stop to query information");
        return false;
    }
    cycle.serializer.reset(serializer);
    return true;
}

// Part of every upload.
void AddResourceUsage(Cycle& cycle) {
    cycle.status = GetAgentResoureInfo(cycle.resmon);
    if (cycle.status != 0) {
        EP_LOG(kLogError, "Get agent resource information failed with error code: %d",
               cycle.status);
    }
    if (cycle.serializer->AddDataToSerialize(&cycle.resmon, AGT_MGR_RC) != 0) {
        EP_LOG(kLogError, "Add resource information into serializer failed");
        cycle.status = -1;
    }
}

void Serialise(Cycle& cycle) {
    if (cycle.serializer->DoMsgSerialize(cycle.upload) != 0) {
        EP_LOG(kLogError, "Failed to do message serialization");
        cycle.status = -1;
    }
}

// An upload that could not be encoded goes out empty: its answer, or the lack of one, still tells
// whether the manager is there.
void Send(CEpInfoIpc& ipc, const Cycle& cycle) {
    const auto length = static_cast<unsigned>(cycle.upload.size());  // an encoding is below 2 GiB
    (void)ipc.IpcSendMsg(kUpload, cycle.upload.data(), length, IpcOnResponse, nullptr);
}

bool MustExit(int* exit_flag) {
    if (ReadExitFlag(exit_flag) == 0 && !IsUninstalling()) {
        return false;
    }
    EP_LOG(kLogInformation, "exit event occured, exit now...\n");
    return true;
}

int RunCycle(CEpInfoIpc& ipc, int* exit_flag) {
    Cycle cycle;
    if (!CreateSerializer(cycle)) {
        return -1;
    }
    AddResourceUsage(cycle);
    if (MustExit(exit_flag)) {
        return cycle.status;
    }
    Serialise(cycle);
    if (MustExit(exit_flag)) {
        return cycle.status;
    }
    Send(ipc, cycle);
    return cycle.status;
}

}  // namespace

int ProcessMain(CEpInfoIpc* ipc, int* exit_flag) {
    int status = ENOMEM;
    (void)GuardException("the collection cycle", [&] { status = RunCycle(*ipc, exit_flag); });
    return status;
}
