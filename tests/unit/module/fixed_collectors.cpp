#include "fixed_collectors.h"

#include "common/state.h"
#include "recording_agent.h"

FixedCollectors& Collectors() {
    static FixedCollectors collectors;
    return collectors;
}

void ResetCollectors() {
    Collectors() = FixedCollectors{};
    s_lastAgentInfo = _stAgentInfo{};
    s_lastUsrLogInfo = _stUsrLogInfo{};
    s_checkAgentTimes = 0;
}

extern "C" int __wrap__Z12GetAgentInfoR12_stAgentInfo(_stAgentInfo& out) {
    Note("collect agent");
    return Collectors().agent(out);
}

extern "C" bool __wrap__Z18IsAgentInfoChangedR12_stAgentInfoS0_(_stAgentInfo& previous,
                                                                _stAgentInfo& current) {
    Note("compare agent");
    return Collectors().agent_changed(previous, current);
}

extern "C" int __wrap__Z13GetLogUsrInfoR13_stUsrLogInfo(_stUsrLogInfo& out) {
    Note("collect login");
    return Collectors().login(out);
}

extern "C" bool __wrap__Z19IsUsrLogInfoChangedRK13_stUsrLogInfoS1_(const _stUsrLogInfo& previous,
                                                                   const _stUsrLogInfo& current) {
    Note("compare login");
    return Collectors().login_changed(previous, current);
}
