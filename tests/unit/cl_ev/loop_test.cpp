// cl_event_loop_once and cl_event_loop_current.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <uv.h>

#include <chrono>
#include <thread>

#include "cl_ev.h"
#include "on_isolated_thread.h"

namespace {

constexpr int kHour = 3600 * 1000;

void Count(cl_timerplus* timer) {
    ++*static_cast<int*>(timer->user);
}

void Nothing(cl_timerplus* /*timer*/) {}

TEST(Loop, WithoutHandlesEndsAtOnce) {
    OnIsolatedThread([] { EXPECT_EQ(0, cl_event_loop_once()); });
}

TEST(Loop, IsAliveWhileATimerIsArmed) {
    OnIsolatedThread([] {
        ASSERT_NE(nullptr, cl_timerplus_start(0, 1, Nothing, nullptr));
        EXPECT_NE(0, cl_event_loop_once());
        EXPECT_NE(0, cl_event_loop_once());
    });
}

TEST(Loop, IsTheSameOnOneThread) {
    OnIsolatedThread([] {
        uv_loop_t* const loop = cl_event_loop_current();
        ASSERT_NE(nullptr, loop);
        EXPECT_EQ(loop, cl_event_loop_current());
    });
}

TEST(Loop, IsAnotherOnEachThread) {
    uv_loop_t* const mine = cl_event_loop_current();
    ASSERT_NE(nullptr, mine);
    OnIsolatedThread([mine] {
        EXPECT_NE(nullptr, cl_event_loop_current());
        EXPECT_NE(mine, cl_event_loop_current());
    });
}

TEST(Loop, WaitsInsteadOfPolling) {
    OnIsolatedThread([] {
        int count = 0;
        ASSERT_NE(nullptr, cl_timerplus_start(0, 100, Count, &count));
        int passes = 0;
        while (count == 0) {
            ASSERT_NE(0, cl_event_loop_once());
            ++passes;
        }
        EXPECT_LE(passes, 2);  // the first may only have told the kernel about new descriptors
    });
}

// Without that, a caller would see what a callback decided only at the next event, an hour later.
TEST(Loop, DoesNotWaitAfterATimerHasRun) {
    OnIsolatedThread([] {
        int count = 0;
        (void)cl_event_loop_once();
        ASSERT_NE(nullptr, cl_timerplus_start(0, kHour, Nothing, nullptr));
        uv_timer_t once;
        once.data = &count;
        ASSERT_EQ(0, uv_timer_init(cl_event_loop_current(), &once));
        const auto due = [](uv_timer_t* timer) { ++*static_cast<int*>(timer->data); };
        ASSERT_EQ(0, uv_timer_start(&once, due, 1, 0));
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
        while (count == 0) {
            ASSERT_NE(0, cl_event_loop_once());
        }
        uv_close(reinterpret_cast<uv_handle_t*>(&once), nullptr);
        EXPECT_NE(0, cl_event_loop_once());
        EXPECT_EQ(1, count);
    });
}

struct PipeChain {
    int read_end = -1;
    int write_end = -1;
    uv_poll_t poll = {};
    int seen = 0;
};

// One pass runs what its own callbacks made due, too.
TEST(Loop, DrainsWhatBecomesDueMeanwhile) {
    OnIsolatedThread([] {
        PipeChain chain;
        int ends[2];
        ASSERT_EQ(0, pipe2(ends, O_CLOEXEC | O_NONBLOCK));
        chain.read_end = ends[0];
        chain.write_end = ends[1];
        chain.poll.data = &chain;
        ASSERT_EQ(0, uv_poll_init(cl_event_loop_current(), &chain.poll, chain.read_end));
        const auto readable = [](uv_poll_t* poll, int, int) {
            auto* self = static_cast<PipeChain*>(poll->data);
            char byte = 0;
            self->seen += static_cast<int>(read(self->read_end, &byte, 1));
            if (self->seen < 5) {
                self->seen += write(self->write_end, "x", 1) == 1 ? 0 : -100;
            }
        };
        ASSERT_EQ(0, uv_poll_start(&chain.poll, UV_READABLE, readable));
        ASSERT_NE(0, cl_event_loop_once());  // tells the kernel about the descriptor
        ASSERT_EQ(0, chain.seen);
        ASSERT_EQ(1, write(chain.write_end, "x", 1));
        ASSERT_NE(0, cl_event_loop_once());
        EXPECT_EQ(5, chain.seen);
        uv_close(reinterpret_cast<uv_handle_t*>(&chain.poll), nullptr);
        (void)cl_event_loop_once();
        close(ends[0]);
        close(ends[1]);
    });
}

TEST(Loop, ReturnsEvenWhenThereIsAlwaysSomethingDue) {
    OnIsolatedThread([] {
        int count = 0;
        uv_idle_t always;
        always.data = &count;
        ASSERT_EQ(0, uv_idle_init(cl_event_loop_current(), &always));
        const auto due = [](uv_idle_t* handle) { ++*static_cast<int*>(handle->data); };
        ASSERT_EQ(0, uv_idle_start(&always, due));
        EXPECT_NE(0, cl_event_loop_once());
        EXPECT_EQ(17, count);
        uv_close(reinterpret_cast<uv_handle_t*>(&always), nullptr);
        EXPECT_EQ(0, cl_event_loop_once());
    });
}

TEST(Loop, APassWithinACallbackDoesNothing) {
    OnIsolatedThread([] {
        struct {
            int calls = 0;
            int inner_result = 0;
        } seen;
        const auto due = [](cl_timerplus* timer) {
            auto* self = static_cast<decltype(seen)*>(timer->user);
            ++self->calls;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));  // the timer is due again
            const int before = self->calls;
            self->inner_result = cl_event_loop_once();
            EXPECT_EQ(before, self->calls);
        };
        ASSERT_NE(nullptr, cl_timerplus_start(0, 1, due, &seen));
        while (seen.calls == 0) {
            ASSERT_NE(0, cl_event_loop_once());
        }
        EXPECT_NE(0, seen.inner_result);
    });
}

}  // namespace
