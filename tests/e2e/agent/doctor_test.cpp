// kxectl doctor in whole installations.
#include <sys/stat.h>

#include "agent.h"

namespace kxtest {
namespace {

using testing::HasSubstr;

class Doctor : public AgentTest {
  protected:
    void StartAll() {
        StartManager();
        StartCentre();
        StartHost();
        ASSERT_TRUE(installation().wait_for_bus("agt_ei"));
    }
};

TEST_F(Doctor, FindsNothingInARunningAgent) {
    StartAll();
    const Finished finished = Ctl({"doctor"});
    EXPECT_EQ(finished.output, "nothing found\n");
    EXPECT_EQ(finished.errors, "");
    EXPECT_EQ(finished.status, 0);
}

TEST_F(Doctor, LeavesNoComplaintWithThoseItLooksFor) {
    StartAll();
    ASSERT_EQ(Ctl({"doctor"}).status, 0);
    EXPECT_EQ(manager().errors(), "");
    EXPECT_THAT(installation().log(),
                testing::Not(testing::ContainsRegex(" E [0-9]+/[0-9]+ noxipc:")));
}

TEST_F(Doctor, FindsThatNobodyRuns) {
    const Finished finished = Ctl({"doctor"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.errors, "");
    for (const char* const name : {"agt_ei", "mgr_ei", "agt_cfgc"}) {
        EXPECT_THAT(finished.output,
                    HasSubstr(std::string("nobody answers on the bus as ") + name + "\n"));
    }
    EXPECT_FALSE(std::filesystem::exists(installation().path("var/run")));
}

TEST_F(Doctor, FindsAnAgentThatIsOffline) {
    StartCentre();
    StartManager({"--fault", "refuse"});
    StartQuickHost();
    ASSERT_TRUE(WaitUntil([&] { return Ctl({"online"}).status == 1; }));
    const Finished finished = Ctl({"doctor", "--json"});
    EXPECT_EQ(finished.status, 1);
    const Json json = ParseJson(finished.output);
    EXPECT_EQ(Text(json.get(), "findings.0.what"), "the agent is offline") << finished.output;
    EXPECT_EQ(Member(json.get(), "findings.1"), nullptr) << finished.output;
}

TEST_F(Doctor, FindsAModuleThatIsNone) {
    StartAll();
    installation().write("lib/libkxepinfo.so", "no library");
    const Finished finished = Ctl({"doctor"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.output, HasSubstr("1. the module cannot be loaded: "));
}

TEST_F(Doctor, FindsAHostThatRunsOnAfterAnUpgrade) {
    StartAll();
    const auto module = installation().path("lib/libkxepinfo.so");
    std::filesystem::copy_file(module, installation().path("new"));
    std::filesystem::rename(installation().path("new"), module);
    const Finished finished = Ctl({"doctor"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.output, testing::StartsWith("1. process "));
    EXPECT_THAT(finished.output,
                HasSubstr(" runs a file that is not there any more: " + module.string() + "\n"));
    EXPECT_EQ(CountOf(finished.output, "\n"), 3U) << finished.output;
}

TEST_F(Doctor, FindsAFileThatEverybodyCanChange) {
    StartAll();
    installation().write("config/server.ini", "[config]\naddr=127.0.0.1\n");
    ASSERT_EQ(chmod(installation().path("config/server.ini").c_str(), 0666), 0);
    const Finished finished = Ctl({"doctor"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_THAT(finished.output,
                testing::StartsWith("1. " + installation().path("config/server.ini").string() +
                                    " can be changed by everybody (mode 0666, owner "));
    EXPECT_EQ(CountOf(finished.output, "\n"), 3U) << finished.output;
}

TEST_F(Doctor, SaysWhenItCannotSay) {
    const Finished finished = RunToEnd(
        "/bin/sh", {"-c", "exec \"$0\" doctor >/dev/full", installation().program("kxectl")});
    EXPECT_EQ(finished.status, 3);
    EXPECT_THAT(finished.errors, testing::StartsWith("kxectl: cannot write to standard output: "));
}

}  // namespace
}  // namespace kxtest
