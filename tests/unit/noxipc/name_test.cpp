// A name that its dead holder has not quite given up. The pauses between attempts at it are the
// test's.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <thread>

#include "bus.h"

namespace {

std::function<void()> on_pause;
useconds_t paused = 0;

constexpr useconds_t kLongestPause = 50000;  // microseconds, all of them together

class BusName : public BusTest {
  protected:
    void SetUp() override {
        BusTest::SetUp();
        on_pause = [] {};
        paused = 0;
    }
};

// As a child is that has been begun and has not come to run its program: it has all descriptors.
void LiveUntilThereIs(const std::filesystem::path& file) {
    constexpr int kHangGuard = 60000;
    for (int i = 0; i < kHangGuard && !std::filesystem::exists(file); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    _exit(0);
}

}  // namespace

extern "C" int usleep(useconds_t microseconds) {
    paused += microseconds;
    on_pause();
    return 0;
}

TEST_F(BusName, IsFreeOnceAChildThatADeadHolderWasStartingRunsItsProgram) {
    ASSERT_EQ(0, prctl(PR_SET_CHILD_SUBREAPER, 1));
    const std::filesystem::path go = BusPath("go");
    Child holder([&go](const std::function<void()>& ready) {
        const Instance instance = Join("server");
        if (fork() == 0) {
            LiveUntilThereIs(go);
        }
        ready();
        return pause();
    });
    holder.Kill(SIGKILL);
    holder.Wait();
    on_pause = [] {
        kxtest::WriteFile("var/run/ipc/go", "");
        EXPECT_GT(waitpid(-1, nullptr, 0), 0);
        on_pause = [] {};
    };
    EXPECT_NE(nullptr, Join("server"));
    EXPECT_GT(paused, 0U);
    EXPECT_THAT(kxtest::LoggedLinesUpTo(2), testing::IsEmpty());
}

TEST_F(BusName, OfALiveHolderIsRefusedAfterAMoment) {
    const Instance holder = Join("server");
    EXPECT_EQ(nullptr, Join("server"));
    EXPECT_EQ(kLongestPause, paused);
    EXPECT_THAT(kxtest::LoggedLinesUpTo(2),
                testing::ElementsAre(kxtest::LogLine{
                    2, "noxipc", "cannot join the bus as \"server\": the name is taken"}));
}

TEST_F(BusName, ThatIsFreeIsTakenAtOnce) {
    EXPECT_NE(nullptr, Join("server"));
    EXPECT_EQ(0U, paused);
}
