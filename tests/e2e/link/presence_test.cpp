// A manager that is not there yet, goes away, or comes back.
#include <algorithm>

#include "link.h"

namespace kxtest {
namespace {

using testing::ElementsAre;

using Manager = LinkTest;

TEST_F(Manager, ThatComesLateIsToldEverything) {
    EXPECT_EQ(FirstCycle(), "online, 1 failed");
    EXPECT_EQ(NextCycle(), "online, 2 failed");
    EXPECT_EQ(NextCycle(), "online, 3 failed");
    EXPECT_EQ(NextCycle(), "online, 4 failed");
    EXPECT_EQ(NextCycle(), "offline, 5 failed");
    EXPECT_EQ(NextCycle(), "offline, 6 failed");
    EXPECT_EQ(Ctl({"online"}).status, 1);
    StartManager();
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_EQ(Ctl({"online"}).status, 0);
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_THAT(Commands(), ElementsAre(14, 2));
}

TEST_F(Manager, ThatIsKilledInAConversationFailsItAtOnce) {
    StartManager({"--fault", "silent"});
    BeginFirstCycle();
    ASSERT_EQ(Cmd(0), 14);
    KillManager();
    EXPECT_EQ(StateAfterOutcome(1), "online, 1 failed");
    StartManager();
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_THAT(Commands(), ElementsAre(14, 2));
}

// Cycles do not wait for answers, so several uploads can be open at a time.
TEST_F(Manager, ThatIsKilledFailsEveryUploadThatIsOpen) {
    constexpr std::size_t kOpen = 5;
    StartManager({"--fault", "silent"});
    BeginFirstCycle();
    for (std::size_t number = 0; number < kOpen; ++number) {
        ASSERT_NE(Upload(number), nullptr);
        if (number + 1 < kOpen) {
            StepToNextCycle();
        }
    }
    KillManager();
    EXPECT_EQ(StateAfterOutcome(kOpen), "offline, 5 failed");
    StartManager();
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_THAT(Commands(), ElementsAre(14));
}

TEST_F(Manager, ThatIsKilledBetweenUploadsFailsTheNext) {
    StartManager();
    EXPECT_EQ(FirstCycle(), "online, 0 failed");
    KillManager();
    EXPECT_EQ(State(), "online, 0 failed");
    EXPECT_EQ(NextCycle(), "online, 1 failed");
    StartManager();
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_THAT(Commands(), ElementsAre(14, 2));
}

TEST_F(Manager, ThatIsRestartedBetweenUploadsIsNotMissed) {
    StartManager();
    EXPECT_EQ(FirstCycle(), "online, 0 failed");
    EXPECT_EQ(manager().stop(), 0);
    StartManager();
    EXPECT_EQ(NextCycle(), "online, 0 failed");
    EXPECT_THAT(Commands(), ElementsAre(2));
}

TEST_F(Manager, ThatIsRestartedAgainAndAgainIsToldEverythingOnceForEachFailure) {
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(round == 0 ? FirstCycle() : NextCycle(), "online, 1 failed");
        StartManager();
        EXPECT_EQ(NextCycle(), "online, 0 failed");
        EXPECT_EQ(NextCycle(), "online, 0 failed");
        EXPECT_THAT(Commands(), ElementsAre(14, 2));
        KillManager();
    }
}

// As it is for real: the agent never stops uploading, and everything fails for a while. An upload
// or two may still be made before the last failure is known.
TEST_F(Manager, ThatWasAwayForLongIsToldEverythingByAnAgentThatWentOn) {
    StartManager();
    StartQuickHost();
    ASSERT_EQ(Cmd(1), 2);
    KillManager();
    EXPECT_TRUE(WaitUntil([&] { return Ctl({"online"}).output == "offline\n"; }));
    StartManager();
    EXPECT_TRUE(WaitUntil([&] {
        const std::vector<long long> commands = Commands();
        return std::find(commands.begin(), commands.end(), 14) != commands.end();
    }));
    EXPECT_TRUE(WaitUntil([&] { return Ctl({"online"}).output == "online\n"; }));
}

}  // namespace
}  // namespace kxtest
