// What one cycle leaves for the next.
#include <gmock/gmock.h>

#include "common/state.h"
#include "cycle_fixture.h"
#include "fake_agent.h"
#include "record_fields.h"

namespace {

class WhatACycleLeaves : public Cycles {
  protected:
    void SetUp() override {
        Cycles::SetUp();
        Collectors().agent = [](_stAgentInfo& agent) {
            agent.sys_info.host_node = "host";
            agent.ext_info.mgr_addr = "10.0.0.1";
            agent.adapters = {{"00-00-00-00-00-01", "eth0", {"10.0.0.2"}, {"fe80::1"}}};
            agent.is_ip_changed = true;
            return 0;
        };
        Collectors().login = [](_stUsrLogInfo& usr) {
            usr = {"2024-03-01 09:05:07", "root", "10.0.0.9"};
            return 0;
        };
    }

    static void ExpectRemembered() {
        _stAgentInfo expected;
        Collectors().agent(expected);
        expected.change_state = bf_kxepinfo::NOT_CHANGED;
        EXPECT_EQ(kxtest::Fields(s_lastAgentInfo), kxtest::Fields(expected));
        EXPECT_EQ(s_lastUsrLogInfo.login_time, "2024-03-01 09:05:07");
        EXPECT_EQ(s_lastUsrLogInfo.login_name, "root");
        EXPECT_EQ(s_lastUsrLogInfo.login_ip, "10.0.0.9");
    }

    static void ExpectNothingRemembered() {
        EXPECT_EQ(kxtest::Fields(s_lastAgentInfo), kxtest::Fields(_stAgentInfo{}));
        EXPECT_EQ(s_lastUsrLogInfo.login_time, "");
        EXPECT_EQ(s_lastUsrLogInfo.login_name, "");
        EXPECT_EQ(s_lastUsrLogInfo.login_ip, "");
    }
};

}  // namespace

TEST_F(WhatACycleLeaves, IsItsWholeRecordsThoughTheyWereNotUploaded) {
    EXPECT_EQ(RunToUpload().cmd(), 2U);
    ExpectRemembered();
}

TEST_F(WhatACycleLeaves, IsTheSameWhenTheSendFails) {
    kxtest::Agent().nox_ipc_make_request = [](nox_ipc_st*, const nox_addr_st*, unsigned,
                                              const char*, unsigned, nox_ipc_response_cb, void*,
                                              int) { return 111; };
    EXPECT_EQ(Run(), 0);
    ExpectRemembered();
}

TEST_F(WhatACycleLeaves, MakesThatALostChangeIsNotSentAgain) {
    Collectors().agent_changed = [](_stAgentInfo& previous, _stAgentInfo& current) {
        return previous.sys_info.host_node != current.sys_info.host_node;
    };
    kxtest::Agent().nox_ipc_make_request = [](nox_ipc_st*, const nox_addr_st*, unsigned,
                                              const char*, unsigned, nox_ipc_response_cb, void*,
                                              int) { return 111; };
    (void)Run();
    UseRecordingAgent();
    EXPECT_EQ(RunToUpload().cmd(), 2U);
}

TEST_F(WhatACycleLeaves, IsNothingWhenItIsStoppedBeforeTheSend) {
    Collectors().login_changed = [this](const _stUsrLogInfo&, const _stUsrLogInfo&) {
        exit_flag = 1;
        return false;
    };
    (void)Run();
    EXPECT_EQ(SentUploads().size(), 0U);
    ExpectNothingRemembered();
}

TEST_F(WhatACycleLeaves, IsComparedByTheNext) {
    _stAgentInfo seen;
    (void)RunToUpload();
    Collectors().agent_changed = [&seen](_stAgentInfo& previous, _stAgentInfo&) {
        seen = previous;
        return false;
    };
    (void)RunToUpload();
    EXPECT_EQ(kxtest::Fields(seen), kxtest::Fields(s_lastAgentInfo));
    EXPECT_EQ(seen.sys_info.host_node, "host");
}
