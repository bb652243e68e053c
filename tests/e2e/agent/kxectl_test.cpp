// kxectl against a real agent, and its decoder.
#include "agent.h"

namespace kxtest {
namespace {

using Kxectl = AgentTest;

TEST_F(Kxectl, AsksForTheOnlineStateWithoutAManager) {
    StartHost();
    ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    const Finished answer = Ctl({"online"});
    EXPECT_EQ(answer.status, 0) << answer.errors;
    EXPECT_EQ(answer.output, "online\n");
}

TEST_F(Kxectl, IsAnsweredManyTimesAtOnce) {
    StartHost();
    ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    std::vector<std::unique_ptr<Program>> askers;
    for (int i = 0; i < 10; ++i) {
        askers.push_back(std::make_unique<Program>(installation().program("kxectl"),
                                                   std::vector<std::string>{"online"}));
    }
    for (const auto& asker : askers) {
        EXPECT_EQ(asker->wait(), 0) << asker->errors();
        EXPECT_EQ(asker->output(), "online\n");
    }
}

TEST_F(Kxectl, AHeartbeatBringsAnOfflineAgentOnline) {
    StartManager({"--fault", "refuse:6"});
    StartHost();
    ASSERT_TRUE(WaitUntil(
        [&] { return CountOf(installation().log(), "to mgr failed with error: refused") >= 5; }));
    const Finished heartbeat = Ctl({"heartbeat", "1"});
    EXPECT_EQ(heartbeat.status, 0) << heartbeat.errors;
    EXPECT_EQ(heartbeat.output, "");
    EXPECT_TRUE(WaitUntil([&] { return Ctl({"online"}).status == 0; }));
}

TEST_F(Kxectl, SaysWhenThereIsNoAgentToNotify) {
    for (const std::vector<std::string>& command :
         {std::vector<std::string>{"online"}, {"notify"}, {"heartbeat", "0"}}) {
        const Finished finished = Ctl(command);
        EXPECT_EQ(finished.status, 2) << command.front();
        EXPECT_EQ(CountOf(finished.errors, "\n"), 1U) << finished.errors;
    }
}

TEST_F(Kxectl, DecodesAFrameFromStandardInput) {
    // cmd 2, agent_id 7, rc_info { cpu_usage 1234 }, behind a frame header.
    const std::string payload("\x08\x02\x10\x07\x1a\x03\x08\xd2\x09", 9);
    std::string frame("3200\0\0\0\0\0\1\0\0\0\0\0\0\0\0\0\x09", 20);
    frame += payload;
    const Finished decoded = Ctl({"decode"}, {.environment = {}, .standard_input = frame});
    EXPECT_EQ(decoded.status, 0) << decoded.errors;
    EXPECT_THAT(decoded.output, testing::HasSubstr("\"cpu_usage\": 1234"));
    EXPECT_THAT(decoded.output, testing::HasSubstr("\"agent_id\": 7"));
}

TEST_F(Kxectl, SaysWhatCannotBeDecoded) {
    const Finished decoded = Ctl({"decode"}, {.environment = {}, .standard_input = "\xff\xff"});
    EXPECT_EQ(decoded.status, 1);
    EXPECT_EQ(decoded.output, "");
    EXPECT_THAT(decoded.errors, testing::StartsWith("kxectl: "));
}

TEST_F(Kxectl, EveryProgramHasHelpAndVersion) {
    for (const char* name : {"kxehost", "kxemgr", "kxecfgc", "kxectl"}) {
        const Finished help = RunToEnd(installation().program(name), {"--help"});
        EXPECT_EQ(help.status, 0) << name;
        EXPECT_THAT(help.output, testing::HasSubstr("Exit status:")) << name;
        const Finished version = RunToEnd(installation().program(name), {"--version"});
        EXPECT_EQ(version.status, 0) << name;
        EXPECT_THAT(version.output, testing::StartsWith(std::string(name) + " ")) << name;
        const Finished wrong = RunToEnd(installation().program(name), {"--no-such-option"});
        EXPECT_EQ(wrong.status, 64) << name;
        EXPECT_EQ(wrong.output, "") << name;
    }
}

}  // namespace
}  // namespace kxtest
