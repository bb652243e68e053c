// When agent facts are part of an upload.
#include <gmock/gmock.h>

#include "common/state.h"
#include "cycle_fixture.h"

using ::testing::Contains;
using ::testing::Not;

namespace {

using AgentFacts = Cycles;

const char* const kChanged = "3 kxepinfo: agent info changed";
const char* const kUploadNow =
    "3 kxepinfo: basic information changed or have checked agent info 15 times, upload now...\\n";

bool Never(_stAgentInfo& /*previous*/, _stAgentInfo& /*current*/) {
    return false;
}
bool Always(_stAgentInfo& /*previous*/, _stAgentInfo& /*current*/) {
    return true;
}

// What a machine does whose facts stay the same: the first cycle after load compares them with
// nothing.
bool UnlessTheSameHost(_stAgentInfo& previous, _stAgentInfo& current) {
    return previous.sys_info.host_node != current.sys_info.host_node;
}
int NameTheHost(_stAgentInfo& agent) {
    agent.sys_info.host_node = "host";
    return 0;
}

}  // namespace

TEST_F(AgentFacts, AreUploadedWhenTheyChanged) {
    Collectors().agent = NameTheHost;
    Collectors().agent_changed = Always;
    const bf_kxepinfo::epinfo upload = RunToUpload();
    EXPECT_EQ(upload.cmd(), 6U);
    EXPECT_EQ(upload.sys_info().base_info().host_node(), "host");
    EXPECT_EQ(upload.sys_info().change().is_changed(), bf_kxepinfo::IS_CHANGED);
    EXPECT_THAT(Journal(), Contains(kChanged));
    EXPECT_THAT(Journal(), Contains(kUploadNow));
}

TEST_F(AgentFacts, AreNotUploadedWhenTheyStayTheSame) {
    EXPECT_EQ(RunToUpload().cmd(), 2U);
    EXPECT_THAT(Journal(), Not(Contains(kChanged)));
    EXPECT_THAT(Journal(), Not(Contains(kUploadNow)));
}

TEST_F(AgentFacts, OfTheRefreshSayThatNothingChanged) {
    s_checkAgentTimes = 15;
    const bf_kxepinfo::epinfo upload = RunToUpload();
    EXPECT_EQ(upload.cmd(), 6U);
    EXPECT_EQ(upload.sys_info().change().is_changed(), bf_kxepinfo::NOT_CHANGED);
    EXPECT_THAT(Journal(), Not(Contains(kChanged)));
    EXPECT_THAT(Journal(), Contains(kUploadNow));
    EXPECT_EQ(s_checkAgentTimes, 0);
}

TEST_F(AgentFacts, OfAnUnchangedHostAreInUploads1And17And33Of40) {
    Collectors().agent = NameTheHost;
    Collectors().agent_changed = UnlessTheSameHost;
    for (int cycle = 1; cycle <= 40; ++cycle) {
        const bool with_agent_facts = cycle == 1 || cycle == 17 || cycle == 33;
        const bf_kxepinfo::epinfo upload = RunToUpload();
        EXPECT_EQ(upload.cmd(), with_agent_facts ? 6U : 2U) << "cycle " << cycle;
        EXPECT_EQ(upload.has_sys_info(), with_agent_facts) << "cycle " << cycle;
        EXPECT_TRUE(upload.has_rc_info()) << "cycle " << cycle;
    }
}

TEST_F(AgentFacts, ThatChangedBeginTheCountAnew) {
    Collectors().agent = NameTheHost;
    Collectors().agent_changed = UnlessTheSameHost;
    for (int cycle = 1; cycle <= 10; ++cycle) {
        (void)RunToUpload();
    }
    Collectors().agent = [](_stAgentInfo& agent) {
        agent.sys_info.host_node = "renamed";
        return 0;
    };
    EXPECT_EQ(RunToUpload().cmd(), 6U);
    for (int cycle = 12; cycle <= 26; ++cycle) {
        EXPECT_EQ(RunToUpload().cmd(), 2U) << "cycle " << cycle;
    }
    EXPECT_EQ(RunToUpload().cmd(), 6U);
}

TEST_F(AgentFacts, AStopBeforeTheyAreCollectedDoesNotMoveTheCount) {
    answers->sleep = [this] { exit_flag = 1; };
    (void)Run();
    EXPECT_EQ(s_checkAgentTimes, 0);
    EXPECT_THAT(Journal(), Not(Contains("collect agent")));
}

TEST_F(AgentFacts, AStopWhileTheyAreCollectedSendsNothingAndHasMovedTheCount) {
    s_lastAgentInfo.sys_info.host_node = "previous";
    Collectors().agent = [this](_stAgentInfo& agent) {
        exit_flag = 1;
        return NameTheHost(agent);
    };
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(SentUploads().size(), 0U);
    EXPECT_EQ(s_checkAgentTimes, 1);
    EXPECT_EQ(s_lastAgentInfo.sys_info.host_node, "previous");
    EXPECT_THAT(Journal(), Not(Contains("collect login")));
}

TEST_F(AgentFacts, DuringAnUninstallationAreNotLookedAt) {
    kxtest::WriteFile("bin/uninstalling", "");
    for (int cycle = 1; cycle <= 20; ++cycle) {
        (void)Run();
    }
    EXPECT_EQ(SentUploads().size(), 0U);
    EXPECT_EQ(s_checkAgentTimes, 0);
    EXPECT_THAT(Journal(), Not(Contains("collect agent")));
}

TEST_F(AgentFacts, OfARecordThatClaimsAChangeBeforeItIsComparedDoNotCount) {
    Collectors().agent = [](_stAgentInfo& agent) {
        agent.change_state = bf_kxepinfo::IS_CHANGED;
        return 0;
    };
    Collectors().agent_changed = Never;
    EXPECT_EQ(RunToUpload().cmd(), 2U);
}

TEST_F(AgentFacts, MarkedAsChangedByTheComparisonAreUploaded) {
    Collectors().agent_changed = [](_stAgentInfo& /*previous*/, _stAgentInfo& current) {
        current.change_state = bf_kxepinfo::IS_CHANGED;
        return false;
    };
    EXPECT_EQ(RunToUpload().cmd(), 6U);
    EXPECT_THAT(Journal(), Not(Contains(kChanged)));
}
