// When the library looks at its level file.
#include <gtest/gtest.h>

#include <chrono>

#include "autolog.h"
#include "fake_system.h"
#include "installation.h"

namespace {

using namespace std::chrono_literals;

class Look : public kxtest::InstallationTest {
  protected:
    // Whatever another test did, the next call looks.
    void SetUp() override {
        InstallationTest::SetUp();
        PassTime(1h);
    }
    static void SetLevel(const char* digit) {
        kxtest::WriteFile("config/log/agent/kxepinfo/agent/log.ini",
                          std::string("[log]\nlevel=") + digit + "\n");
    }
};

}  // namespace

TEST_F(Look, TheFirstCallLooksAtOnce) {
    SetLevel("4");
    EXPECT_NE(error_output_check(4), 0);
}

TEST_F(Look, LevelsUpToTheHighestAreEnabled) {
    SetLevel("2");
    EXPECT_NE(error_output_check(1), 0);
    EXPECT_NE(error_output_check(2), 0);
    EXPECT_EQ(error_output_check(3), 0);
    EXPECT_EQ(error_output_check(4), 0);
}

TEST_F(Look, NumbersThatAreNoLevelAreNotEnabled) {
    SetLevel("4");
    EXPECT_EQ(error_output_check(0), 0);
    EXPECT_EQ(error_output_check(-1), 0);
    EXPECT_EQ(error_output_check(5), 0);
}

// Measured by the same clock, whatever the machine is busy with.
TEST_F(Look, BetweenTwoLooksNothingIsLookedAt) {
    (void)error_output_check(3);
    const int looks = StatusLooks();
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 10000; ++i) {
        (void)error_output_check(i % 5);
    }
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start);
    EXPECT_LE(StatusLooks() - looks, seconds.count() + 1);
}

TEST_F(Look, ASecondLaterTheFileIsLookedAtAgain) {
    SetLevel("4");
    EXPECT_NE(error_output_check(4), 0);
    const int looks = StatusLooks();
    SetLevel("3");
    PassTime(1000ms);
    EXPECT_EQ(error_output_check(4), 0);
    EXPECT_GE(StatusLooks(), looks + 1);
}

TEST_F(Look, LoggingLooksToo) {
    SetLevel("1");
    error_output(4, "test", 1, "disabled");
    EXPECT_EQ(error_output_check(2), 0);
}

TEST_F(Look, InitialisingMakesTheNextCallLook) {
    SetLevel("4");
    EXPECT_NE(error_output_check(4), 0);
    SetLevel("3");
    ASSERT_EQ(autolog_init((kxtest::InstallationRoot() / "var").c_str(), 1), 0);
    EXPECT_EQ(error_output_check(4), 0);
}
