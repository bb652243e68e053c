// The module-wide state as the library finds it when it is loaded.
#include "common/state.h"

#include <gtest/gtest.h>

#include "record_fields.h"

using kxtest::Fields;

TEST(State, HoldsItsDefaultsAtLoad) {
    EXPECT_EQ(Fields(s_lastAgentInfo.sys_info),
              std::make_tuple(0, 0, 0, 0, 0U, "", "", "", "", "", 5, 0, "", 0U));
    EXPECT_EQ(Fields(s_lastAgentInfo.ext_info),
              std::make_tuple("", "", "", "", "", "", "", "", ""));
    EXPECT_EQ(s_lastAgentInfo.reserved_agent1, "");
    EXPECT_EQ(s_lastAgentInfo.reserved_agent2, "");
    EXPECT_TRUE(s_lastAgentInfo.adapters.empty());
    EXPECT_FALSE(s_lastAgentInfo.is_ip_changed);
    EXPECT_EQ(s_lastAgentInfo.change_state, 0U);
    EXPECT_EQ(s_lastUsrLogInfo.login_time, "");
    EXPECT_EQ(s_lastUsrLogInfo.login_name, "");
    EXPECT_EQ(s_lastUsrLogInfo.login_ip, "");
    EXPECT_EQ(g_strCurConnectIp, "");
    EXPECT_EQ(g_strPreConnectIp, "");
    EXPECT_TRUE(s_recordedIpv4.empty());
    EXPECT_FALSE(s_ipv4RecordRead);
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_EQ(Attempt_Times, 0U);
    EXPECT_EQ(s_checkAgentTimes, 0);
    EXPECT_EQ(s_heartbeatMisses, 0U);
}
