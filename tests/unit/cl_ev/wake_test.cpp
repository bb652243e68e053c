// cl_event_loop_wake. A wake that is lost leaves a test waiting for an hour, that is, until its
// time limit.
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <thread>

#include "cl_ev.h"
#include "on_isolated_thread.h"

namespace {

constexpr int kHour = 3600 * 1000;

void Nothing(cl_timerplus* /*timer*/) {}

struct Waiter {
    std::atomic<int> passes{0};
    std::atomic<bool> stop{false};
};

void* WaitUntilStopped(void* argument) {
    auto* waiter = static_cast<Waiter*>(argument);
    (void)cl_timerplus_start(0, kHour, Nothing, nullptr);
    while (!waiter->stop && cl_event_loop_once() != 0) {
        ++waiter->passes;
    }
    return nullptr;
}

TEST(Wake, EndsTheWaitOfAnotherThread) {
    Waiter waiter;
    pthread_t thread = {};
    ASSERT_EQ(0, cl_ev_create_isolated_thread(&thread, 0, WaitUntilStopped, &waiter));
    for (int wanted = 1; wanted <= 20; ++wanted) {
        while (waiter.passes < wanted) {
            cl_event_loop_wake(thread);
            std::this_thread::yield();
        }
    }
    waiter.stop = true;
    cl_event_loop_wake(thread);
    EXPECT_EQ(0, pthread_join(thread, nullptr));
}

TEST(Wake, RightAfterTheThreadWasCreatedIsNotLost) {
    for (int round = 0; round < 100; ++round) {
        Waiter waiter;
        pthread_t thread = {};
        ASSERT_EQ(0, cl_ev_create_isolated_thread(&thread, 0, WaitUntilStopped, &waiter));
        waiter.stop = true;
        cl_event_loop_wake(thread);
        ASSERT_EQ(0, pthread_join(thread, nullptr));
    }
}

TEST(Wake, BeforeTheWaitEndsTheNextOne) {
    OnIsolatedThread([] {
        ASSERT_NE(nullptr, cl_timerplus_start(0, kHour, Nothing, nullptr));
        cl_event_loop_wake(pthread_self());
        EXPECT_NE(0, cl_event_loop_once());
        cl_event_loop_wake(pthread_self());
        EXPECT_NE(0, cl_event_loop_once());
    });
}

TEST(Wake, DoesNotKeepALoopAlive) {
    OnIsolatedThread([] {
        cl_event_loop_wake(pthread_self());
        EXPECT_EQ(0, cl_event_loop_once());
    });
}

TEST(Wake, ReachesAThreadThatMadeItsLoopItself) {
    Waiter waiter;
    std::thread thread([&waiter] { WaitUntilStopped(&waiter); });
    while (waiter.passes == 0) {
        cl_event_loop_wake(thread.native_handle());
        std::this_thread::yield();
    }
    waiter.stop = true;
    cl_event_loop_wake(thread.native_handle());
    thread.join();
    EXPECT_GE(waiter.passes, 1);
}

TEST(Wake, IsHarmlessForAThreadThatHasEnded) {
    pthread_t thread = {};
    ASSERT_EQ(0, cl_ev_create_isolated_thread(
                     &thread, 0, [](void*) -> void* { return nullptr; }, nullptr));
    for (int i = 0; i < 1000; ++i) {
        cl_event_loop_wake(thread);  // before, while and after the loop is closed
    }
    EXPECT_EQ(0, pthread_join(thread, nullptr));
    cl_event_loop_wake(thread);
}

TEST(Wake, IsHarmlessForAThreadWithoutALoop) {
    std::atomic<bool> stop{false};
    std::thread thread([&stop] {
        while (!stop) {
            std::this_thread::yield();
        }
    });
    cl_event_loop_wake(thread.native_handle());
    cl_event_loop_wake(pthread_t{});
    stop = true;
    thread.join();
    EXPECT_EQ(0, cl_event_loop_once());
}

}  // namespace
