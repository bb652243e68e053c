// A cycle of an agent that does not know its id. Apart from the others: once the id is known it is
// kept for the process.
#include <gmock/gmock.h>

#include "common/state.h"
#include "cycle_fixture.h"
#include "module/autotest.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

class WithoutAnAgentId : public Cycles {
  protected:
    void SetUp() override {
        Cycles::SetUp();
        answers->host_id = 0;
    }
};

const char* const kUnknownId =
    "2 kxepproto: get id of this agent failed while transform proto to string\\n";

}  // namespace

TEST_F(WithoutAnAgentId, ACycleSendsAnEmptyUploadAndRemembersItsRecords) {
    Collectors().agent = [](_stAgentInfo& agent) {
        agent.sys_info.host_node = "host";
        return 0;
    };
    EXPECT_EQ(Run(), -1);
    EXPECT_EQ(SentUploads().size(), 1U);
    EXPECT_EQ(LastUpload(), "");
    EXPECT_EQ(s_lastAgentInfo.sys_info.host_node, "host");
}

TEST_F(WithoutAnAgentId, TheDumpGetsItsLineThoughNoRecordCanBeEncoded) {
    _stResmon resmon{5000, 1000, 600};
    _stAgentInfo agent;
    _stUsrLogInfo usr;
    EXPECT_EQ(DoAutoTest(resmon, agent, usr), 0);
    EXPECT_THAT(kxtest::ReadFile(kxtest::InstallationRoot() / "bin/autotest_kxepinfo.proto"),
                HasSubstr("\tcpu_usage:50.00(%)\tmem_total:1000(kB)\tmem_used:600(kB)\n"));
    EXPECT_THAT(
        Journal(),
        ElementsAre("4 kxepproto: cpu_usage:50.00(%),mem_total:1000(kB),mem_used:600(kB)",
                    "nox_get_hostid", kUnknownId,
                    "2 kxepinfo: resmon proto buf serialize failed\\n", "nox_get_hostid",
                    kUnknownId, "2 kxepinfo: agent proto buf serialize failed\\n", "nox_get_hostid",
                    kUnknownId, "2 kxepinfo: user logon proto buf serialize failed\\n"));
}
