// Which lines are logged.
#include "loaded_log.h"

namespace {

class Level : public LogTest {
  protected:
    void LogAll() {
        for (int level = 0; level <= 5; ++level) {
            output(level, "t", level, "x");
        }
    }
};

using Lines = std::vector<std::string>;

}  // namespace

TEST_F(Level, IsThreeUnlessItIsSet) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    LogAll();
    EXPECT_EQ(LoggedTexts(), (Lines{"t:1 x", "t:2 x", "t:3 x"}));
}

TEST_F(Level, ThatWasSetBeforeCountsFromTheFirstLine) {
    SetLevel("4");
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    LogAll();
    EXPECT_EQ(LoggedTexts(), (Lines{"t:1 x", "t:2 x", "t:3 x", "t:4 x"}));
}

TEST_F(Level, LinesAboveItAreNotLogged) {
    SetLevel("1");
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    LogAll();
    EXPECT_EQ(LoggedTexts(), Lines{"t:1 x"});
}

TEST_F(Level, AnythingElseInTheFileIsThree) {
    SetLevel("verbose");
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    LogAll();
    EXPECT_EQ(LoggedTexts(), (Lines{"t:1 x", "t:2 x", "t:3 x"}));
}

TEST_F(Level, IsSwitchedWhileTheProcessRuns) {
    ASSERT_EQ(init(Directory().c_str(), 5), 0);
    ASSERT_EQ(check(4), 0);
    SetLevel("4");
    EXPECT_TRUE(WaitUntil([&] { return check(4) != 0; }));
    output(4, "t", 1, "on");
    SetLevel("2");
    EXPECT_TRUE(WaitUntil([&] { return check(3) == 0; }));
    output(3, "t", 2, "off");
    EXPECT_EQ(LoggedTexts(), Lines{"t:1 on"});
}
