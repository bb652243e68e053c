// Children that outlived being killed; here they are not killed before the test says so.
#include "collectors/leftbehind.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "child_process.h"
#include "open_files.h"
#include "sysinfo_fixture.h"

namespace {

using kxtest::OpenDescriptors;

class LeftBehind : public SysInfoTest {
  protected:
    void TearDown() override {
        ForgetLeftBehind();
        EXPECT_EQ(OpenDescriptors(), m_descriptors);
        SysInfoTest::TearDown();
    }

    static pid_t Start() {
        return kxtest::InChild([]() -> int {
            for (;;) {
                (void)pause();
            }
        });
    }

    // Returns when it has ended, and leaves its status to be taken.
    static void End(pid_t child) {
        EXPECT_EQ(kill(child, SIGKILL), 0);
        siginfo_t status{};
        EXPECT_EQ(waitid(P_PID, static_cast<id_t>(child), &status, WEXITED | WNOWAIT), 0);
    }

    static void EndAndWait(pid_t child) {
        End(child);
        EXPECT_EQ(waitpid(child, nullptr, 0), child);
    }

    std::size_t Remembered() const { return OpenDescriptors() - m_descriptors; }

  private:
    std::size_t m_descriptors = OpenDescriptors();
};

TEST_F(LeftBehind, IsWaitedForOnceItHasEnded) {
    const pid_t child = Start();
    LeaveBehind(child);
    ReapLeftBehind();
    EXPECT_EQ(Remembered(), 1U);
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), 0);
    End(child);
    ReapLeftBehind();
    EXPECT_EQ(Remembered(), 0U);
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), -1);
}

TEST_F(LeftBehind, IsForgottenWhileItRuns) {
    const pid_t child = Start();
    LeaveBehind(child);
    ForgetLeftBehind();
    EXPECT_EQ(Remembered(), 0U);
    EndAndWait(child);
}

TEST_F(LeftBehind, IsForgottenWhenTheHostHasWaitedForIt) {
    const pid_t child = Start();
    LeaveBehind(child);
    EndAndWait(child);
    ReapLeftBehind();
    EXPECT_EQ(Remembered(), 0U);
}

TEST_F(LeftBehind, IsNotRememberedWithoutAProcess) {
    const pid_t child = Start();
    EndAndWait(child);
    LeaveBehind(child);
    EXPECT_EQ(Remembered(), 0U);
}

TEST_F(LeftBehind, AreRememberedUpToABoundAndAgainWhenSomeHaveEnded) {
    std::vector<pid_t> children;
    for (std::size_t i = 0; i < kMostLeftBehind + 1; ++i) {
        children.push_back(Start());
        LeaveBehind(children.back());
    }
    EXPECT_EQ(Remembered(), kMostLeftBehind);
    End(children.front());
    ReapLeftBehind();
    EXPECT_EQ(Remembered(), kMostLeftBehind - 1);
    LeaveBehind(children.back());
    EXPECT_EQ(Remembered(), kMostLeftBehind);
    ForgetLeftBehind();
    children.erase(children.begin());
    for (const pid_t child : children) {
        EndAndWait(child);
    }
}

}  // namespace
