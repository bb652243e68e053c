#include "common/state.h"

// In this order, which fixes the order in which they are built at load and destroyed at unload.
_stAgentInfo s_lastAgentInfo;
_stUsrLogInfo s_lastUsrLogInfo;
std::string g_strCurConnectIp;
std::string g_strPreConnectIp;
std::set<std::string> s_recordedIpv4;

uint32_t g_preOnlineState = 1;
uint32_t Attempt_Times = 0;
int s_checkAgentTimes = 0;
uint32_t s_heartbeatMisses = 0;
bool s_ipv4RecordRead = false;
