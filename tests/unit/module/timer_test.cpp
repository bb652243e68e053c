#include "module/timer.h"

#include <gmock/gmock.h>

#include "log_capture.h"

using kxtest::LogLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

struct Call {
    CEpInfoIpc* ipc;
    int* exit_flag;
    bool operator==(const Call&) const = default;
};

std::vector<Call> cycles;
int cycle_result = 0;
bool stop_within_cycle = false;

}  // namespace

// In front of ProcessMain (the linker's --wrap).
extern "C" int __wrap__Z11ProcessMainP10CEpInfoIpcPi(CEpInfoIpc* ipc, int* exit_flag) {
    cycles.push_back({ipc, exit_flag});
    if (stop_within_cycle) {
        *exit_flag = 1;
    }
    return cycle_result;
}

namespace {

class TimerCallback : public ::testing::Test {
  protected:
    void SetUp() override {
        cycles.clear();
        cycle_result = 0;
        stop_within_cycle = false;
        kxtest::ClearLog();
    }

    char endpoint = 0;  // never looked into
    int exit_flag = 0;
    _stTimerArg arg{.interval_ms = 2000,
                    .ipc = reinterpret_cast<CEpInfoIpc*>(&endpoint),
                    .exit_flag = &exit_flag};
    cl_timerplus timer{.user = &arg};
};

const LogLine kStepped = {4, "kxepinfo", "stepped into timer callback function now...\n"};

}  // namespace

TEST_F(TimerCallback, NullTimerIsAnError) {
    ProcessMainCb(nullptr);
    EXPECT_THAT(cycles, IsEmpty());
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(LogLine{2, "kxepinfo", "argument timer is null\n"}));
}

TEST_F(TimerCallback, TimerWithoutUserDataIsIgnored) {
    timer.user = nullptr;
    ProcessMainCb(&timer);
    EXPECT_THAT(cycles, IsEmpty());
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(TimerCallback, NoCycleOnceAStopIsRequested) {
    exit_flag = 1;
    ProcessMainCb(&timer);
    EXPECT_THAT(cycles, IsEmpty());
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(TimerCallback, RunsOneCycle) {
    ProcessMainCb(&timer);
    EXPECT_THAT(cycles, ElementsAre(Call{arg.ipc, &exit_flag}));
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(kStepped));
}

TEST_F(TimerCallback, AFailedCycleIsNotReported) {
    cycle_result = -1;
    ProcessMainCb(&timer);
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(kStepped));
}

TEST_F(TimerCallback, AStopDuringTheCycleIsLogged) {
    stop_within_cycle = true;
    ProcessMainCb(&timer);
    EXPECT_THAT(kxtest::LoggedLines(),
                ElementsAre(kStepped,
                            LogLine{3, "kxepinfo", "user called exit routine, exiting now...\n"}));
}

TEST_F(TimerCallback, OnlyOneIsAStop) {
    exit_flag = 2;
    ProcessMainCb(&timer);
    EXPECT_THAT(cycles, ElementsAre(Call{arg.ipc, &exit_flag}));
    EXPECT_THAT(kxtest::LoggedLines(), ElementsAre(kStepped));
}
