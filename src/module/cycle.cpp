#include "module/cycle.h"

#include <cerrno>
#include <memory>
#include <string>
#include <utility>

#include "collectors/agentinfo.h"
#include "collectors/agentres.h"
#include "collectors/userlog.h"
#include "common/exitflag.h"
#include "common/guard.h"
#include "common/log.h"
#include "common/records.h"
#include "common/state.h"
#include "epinfo.pb.h"
#include "ipc/epinfoipc.h"
#include "ipc/response.h"
#include "module/autotest.h"
#include "module/settings.h"
#include "msghandler/msgbase.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

constexpr int kUpload = 0;  // type of the request that carries an upload

// Agent facts that stay the same go out again once this many cycles have compared them since.
constexpr int kChecksWithoutUpload = 15;

// What one cycle has gathered so far.
struct Cycle {
    std::unique_ptr<CMsgBase> serializer;
    _stResmon resmon;
    _stAgentInfo agent;
    _stUsrLogInfo usr;
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

// Whether this cycle's agent facts belong into the upload: they have changed, or it is time to tell
// them again. Sets the record's change_state, which the manager sees.
bool IsAgentInfoDue(_stAgentInfo& agent) {
    ++s_checkAgentTimes;
    agent.change_state = bf_kxepinfo::NOT_CHANGED;
    if (IsAgentInfoChanged(s_lastAgentInfo, agent)) {
        EP_LOG(kLogInformation, "agent info changed");
        agent.change_state = bf_kxepinfo::IS_CHANGED;
    }
    return agent.change_state == bf_kxepinfo::IS_CHANGED ||
           s_checkAgentTimes > kChecksWithoutUpload;
}

// Part of the uploads for which it is due.
void AddAgentInfo(Cycle& cycle) {
    cycle.status = GetAgentInfo(cycle.agent);
    if (cycle.status != 0) {
        EP_LOG(kLogError, "Get agent information failed with error code:%d", cycle.status);
    }
    if (!IsAgentInfoDue(cycle.agent)) {
        return;
    }
    EP_LOG(kLogInformation,
           "basic information changed or have checked agent info 15 times, upload now...\n");
    if (cycle.serializer->AddDataToSerialize(&cycle.agent, AGT_MGR_SYS) != 0) {
        EP_LOG(kLogError, "Add agent information into serializer failed");
        cycle.status = -1;
    }
    s_checkAgentTimes = 0;
}

// Part of an upload only when it has changed; nothing tells it again.
void AddLastLogin(Cycle& cycle) {
    cycle.status = GetLogUsrInfo(cycle.usr);
    if (cycle.status != 0) {
        EP_LOG(kLogError, "Get user login information failed with error: %d", cycle.status);
    }
    if (!IsUsrLogInfoChanged(s_lastUsrLogInfo, cycle.usr)) {
        return;
    }
    if (cycle.serializer->AddDataToSerialize(&cycle.usr, AGT_MGR_LOGIN) != 0) {
        // One text for both records: what watches the log counts it as one kind of failure.
        EP_LOG(kLogError, "Add agent information into serializer failed");
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

void DumpForAutoTest(Cycle& cycle) {
    if (IsAutoTestEnbaled()) {
        EP_LOG(kLogInformation, "Auto test is enabled\n");
        (void)DoAutoTest(cycle.resmon, cycle.agent, cycle.usr);
    }
}

// Whatever was added and whatever becomes of the send: there is no queue of uploads to repeat. What
// was lost on the way goes out with the next change, with the next refresh, or when the failed
// answer makes the module forget it.
void Remember(Cycle& cycle) {
    s_lastAgentInfo = std::move(cycle.agent);
    s_lastUsrLogInfo = std::move(cycle.usr);
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
    AddAgentInfo(cycle);
    if (MustExit(exit_flag)) {
        return cycle.status;
    }
    AddLastLogin(cycle);
    Serialise(cycle);
    if (MustExit(exit_flag)) {
        return cycle.status;
    }
    Send(ipc, cycle);
    (void)GuardException("the dump for automated tests", [&] { DumpForAutoTest(cycle); });
    Remember(cycle);
    return cycle.status;
}

}  // namespace

int ProcessMain(CEpInfoIpc* ipc, int* exit_flag) {
    int status = ENOMEM;
    (void)GuardException("the collection cycle", [&] { status = RunCycle(*ipc, exit_flag); });
    return status;
}
