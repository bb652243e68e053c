// An agent whose id is unknown, so that no upload can be encoded. A program of its own: an id that
// is once known is kept for the process.
#include <gmock/gmock.h>

#include "worker_fixture.h"

using ::testing::Contains;
using ::testing::ElementsAre;

TEST_F(Worker, AFailedFirstCycleIsLoggedAndTheTimerArmed) {
    answers->host_id = 0;
    EXPECT_EQ(Run(), 0);
    const std::vector<std::string> events = JournalFrom(kSend);
    ASSERT_GT(events.size(), 1U);
    EXPECT_EQ(events[1],
              "2 kxepinfo: failed to excute kxepinfo module main process with error code: -1\\n");
    EXPECT_THAT(events, Contains("cl_timerplus_start 0 5000"));
}

TEST_F(Worker, AFailedFirstCycleWithAStopEndsIt) {
    answers->host_id = 0;
    int asked = 0;
    // The second question comes while the upload is encoded.
    answers->get_host_id = [&] { exit_flag = ++asked == 2 ? 1 : 0; };
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(JournalFrom(kInterrupted),
                ElementsAre(kInterrupted, "3 kxepinfo: user called exit process, exiting now...\\n",
                            kUnitializing, "nox_ipc_destroy agt_ei", "nox_addr_destroy mgr_ei",
                            kUnitializing, kExit));
}

TEST_F(Worker, AFailedFirstCycleWithAnotherFlagThanOneIsAFailureAndTheLoopIsSkipped) {
    answers->host_id = 0;
    int asked = 0;
    // As above, with a number that ends a cycle but is not the stop's.
    answers->get_host_id = [&] { exit_flag = ++asked == 2 ? 2 : 0; };
    EXPECT_EQ(Run(), 0);
    EXPECT_THAT(
        JournalFrom(kInterrupted),
        ElementsAre(kInterrupted,
                    "2 kxepinfo: failed to excute kxepinfo module main process with error code: "
                    "-1\\n",
                    "kxe_ini_file_load " + (kxtest::InstallationRoot() / "bin").string() +
                        "/../config/kxepinfocfg.ini",
                    "kxe_ini_file_get flushgap value", "kxe_ini_file_free",
                    "3 kxepinfo: upload gap is 5\\n", "cl_timerplus_start 0 5000", kUnitializing,
                    "nox_ipc_destroy agt_ei", "nox_addr_destroy mgr_ei", kUnitializing, kExit));
}
