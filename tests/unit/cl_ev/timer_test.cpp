// cl_timerplus_start.
#include <gtest/gtest.h>
#include <uv.h>

#include <chrono>
#include <thread>
#include <vector>

#include "cl_ev.h"
#include "on_isolated_thread.h"

namespace {

using std::chrono::milliseconds;

void Count(cl_timerplus* timer) {
    ++*static_cast<int*>(timer->user);
}

void Nothing(cl_timerplus* /*timer*/) {}

// Makes whatever is due within that time due.
void LetPass(milliseconds time) {
    std::this_thread::sleep_for(time);
}

TEST(Timer, APeriodBelowOneMillisecondIsRefused) {
    OnIsolatedThread([] {
        EXPECT_EQ(nullptr, cl_timerplus_start(0, 0, Nothing, nullptr));
        EXPECT_EQ(nullptr, cl_timerplus_start(0, -1, Nothing, nullptr));
        EXPECT_EQ(0, cl_event_loop_once());
    });
}

TEST(Timer, ANullCallbackIsRefused) {
    OnIsolatedThread([] {
        EXPECT_EQ(nullptr, cl_timerplus_start(0, 1000, nullptr, nullptr));
        EXPECT_EQ(0, cl_event_loop_once());
    });
}

TEST(Timer, TheCallbackGetsTheTimerWithTheUserPointerFirst) {
    OnIsolatedThread([] {
        static cl_timerplus* seen;
        static void* seen_user;
        int user = 0;
        cl_timerplus* const timer = cl_timerplus_start(
            0, 1,
            [](cl_timerplus* due) {
                seen = due;
                seen_user = *reinterpret_cast<void**>(due);
            },
            &user);
        ASSERT_NE(nullptr, timer);
        while (seen == nullptr) {
            ASSERT_NE(0, cl_event_loop_once());
        }
        EXPECT_EQ(timer, seen);
        EXPECT_EQ(&user, seen_user);
    });
}

TEST(Timer, Repeats) {
    OnIsolatedThread([] {
        int count = 0;
        ASSERT_NE(nullptr, cl_timerplus_start(0, 1, Count, &count));
        while (count < 5) {
            ASSERT_NE(0, cl_event_loop_once());
        }
        EXPECT_GE(count, 5);
    });
}

TEST(Timer, IsNotDueBeforeItsPeriodHasPassed) {
    OnIsolatedThread([] {
        ASSERT_NE(nullptr, cl_event_loop_current());
        LetPass(milliseconds(60));  // the loop's clock is now behind by this much
        int count = 0;
        const uint64_t start = uv_hrtime();
        ASSERT_NE(nullptr, cl_timerplus_start(0, 50, Count, &count));
        while (count == 0) {
            ASSERT_NE(0, cl_event_loop_once());
        }
        EXPECT_GE(uv_hrtime() - start, 49'000'000U);  // the loop's clock counts whole milliseconds
    });
}

TEST(Timer, CallsMissedDuringALongPauseAreNotMadeUpFor) {
    OnIsolatedThread([] {
        int count = 0;
        ASSERT_NE(nullptr, cl_timerplus_start(0, 1000, Count, &count));
        int soon = 0;
        ASSERT_NE(nullptr, cl_timerplus_start(0, 1, Count, &soon));
        LetPass(milliseconds(2100));
        ASSERT_NE(0, cl_event_loop_once());
        EXPECT_EQ(1, count);
    });
}

TEST(Timer, SeveralRunSideBySide) {
    OnIsolatedThread([] {
        std::vector<int> counts(20, 0);
        for (int& count : counts) {
            ASSERT_NE(nullptr, cl_timerplus_start(0, 1, Count, &count));
        }
        LetPass(milliseconds(5));
        ASSERT_NE(0, cl_event_loop_once());
        for (const int count : counts) {
            EXPECT_GE(count, 1);
        }
    });
}

TEST(Timer, MayBeStartedFromACallback) {
    OnIsolatedThread([] {
        static int inner = 0;
        ASSERT_NE(nullptr, cl_timerplus_start(
                               0, 1,
                               [](cl_timerplus* timer) {
                                   if (timer->user == nullptr) {
                                       timer->user = cl_timerplus_start(0, 1, Count, &inner);
                                   }
                               },
                               nullptr));
        while (inner == 0) {
            ASSERT_NE(0, cl_event_loop_once());
        }
        EXPECT_GE(inner, 1);
    });
}

}  // namespace
