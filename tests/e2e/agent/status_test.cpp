// kxectl status of whole installations.
#include <csignal>

#include "agent.h"

namespace kxtest {
namespace {

using Status = AgentTest;

TEST_F(Status, TellsOfARunningAgent) {
    StartManager();
    const Program& host = StartHost();
    ASSERT_TRUE(Logs("to mgr success"));
    const Finished finished = Ctl({"status", "--json"});
    EXPECT_EQ(finished.status, 0) << finished.errors;
    const Json json = ParseJson(finished.output);
    EXPECT_EQ(Text(json.get(), "installation"), installation().root());
    EXPECT_EQ(Number(json.get(), "module.process"), host.pid());
    EXPECT_EQ(Text(json.get(), "module.program"), installation().program("kxehost"));
    EXPECT_TRUE(json_is_string(Member(json.get(), "module.since")));
    EXPECT_TRUE(json_is_true(Member(json.get(), "online")));
    EXPECT_EQ(Number(json.get(), "agent_id"), std::stoll(installation().read("config/agent_id")));
    EXPECT_TRUE(json_is_true(Member(json.get(), "last_upload.accepted"))) << finished.output;
    EXPECT_EQ(Text(json.get(), "settings.0.key"), "value");
    EXPECT_EQ(Text(json.get(), "settings.0.value"), "2");
    EXPECT_EQ(Text(json.get(), "settings.1.value"), "4");
    EXPECT_EQ(Text(json.get(), "versions.components"), "3.2.10.100");
}

TEST_F(Status, TellsOfAnAgentThatIsOffline) {
    StartManager({"--fault", "refuse"});
    StartQuickHost();
    ASSERT_TRUE(WaitUntil([&] { return Ctl({"online"}).status == 1; }));
    const Finished finished = Ctl({"status"});
    EXPECT_EQ(finished.status, 1) << finished.errors;
    EXPECT_THAT(finished.output, testing::HasSubstr("link         offline\n"));
    EXPECT_THAT(finished.output, testing::HasSubstr("failed with error: refused because of "));
}

TEST_F(Status, TellsTheRestWhenNoAgentIsThere) {
    const Finished finished = Ctl({"status"});
    EXPECT_EQ(finished.status, 2);
    EXPECT_THAT(finished.output, testing::HasSubstr("\nmodule       not there\n"));
    EXPECT_THAT(finished.output,
                testing::HasSubstr("[flushgap] value = 2 (config/kxepinfocfg.ini)\n"));
    EXPECT_EQ(finished.errors, "");
}

TEST_F(Status, TellsOfAnAgentThatGivesNoAnswer) {
    const Program& host = StartHost();
    ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    host.signal(SIGSTOP);
    const Finished finished = Ctl({"--timeout", "1", "status"});
    host.signal(SIGCONT);
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.output, testing::HasSubstr("link         unknown\n"));
    EXPECT_EQ(CountOf(finished.errors, "\n"), 1U) << finished.errors;
}

}  // namespace
}  // namespace kxtest
