// What is left when a thread with a loop has ended: nothing.
#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <uv.h>

#include <cerrno>
#include <filesystem>
#include <iterator>
#include <thread>

#include "cl_ev.h"
#include "loop.h"
#include "on_isolated_thread.h"
#include "open_files.h"

namespace {

void Nothing(cl_timerplus* /*timer*/) {}

// One worker as a module runs it: timers, a woken pass, an end with the timers still armed.
void RunWorker() {
    OnIsolatedThread([] {
        for (int i = 0; i < 3; ++i) {
            ASSERT_NE(nullptr, cl_timerplus_start(0, 1, Nothing, nullptr));
        }
        ASSERT_NE(nullptr, cl_timerplus_start(0, 3600 * 1000, Nothing, nullptr));
        ASSERT_NE(0, cl_event_loop_once());
    });
}

TEST(Closing, AHundredStartsAndStopsLoseNoDescriptorAndNoByte) {
    for (int warm_up = 0; warm_up < 10; ++warm_up) {
        RunWorker();
    }
    const auto descriptors = kxtest::OpenDescriptors();
    const auto bytes = mallinfo2().uordblks;
    for (int round = 0; round < 100; ++round) {
        RunWorker();
    }
    EXPECT_EQ(descriptors, kxtest::OpenDescriptors());
    // The allocator's own bookkeeping moves by a few blocks. A block lost in every round, of 24
    // bytes at least, would show. (Under AddressSanitizer, which has no such figure, its leak check
    // tells.)
    EXPECT_LT(mallinfo2().uordblks, bytes + std::size_t{100} * 24);
    EXPECT_EQ(0, cl_ev::Loop::UncleanCount());
}

TEST(Closing, ClosesTheHandlesOfOthersToo) {
    uv_timer_t timer;
    uv_idle_t idle;
    OnIsolatedThread([&] {
        uv_loop_t* const loop = cl_event_loop_current();
        ASSERT_EQ(0, uv_timer_init(loop, &timer));
        ASSERT_EQ(0, uv_timer_start(
                         &timer, [](uv_timer_t*) {}, 1000, 1000));
        ASSERT_EQ(0, uv_idle_init(loop, &idle));
        ASSERT_EQ(0, uv_idle_start(&idle, [](uv_idle_t*) {}));
    });
    EXPECT_NE(0, uv_is_closing(reinterpret_cast<uv_handle_t*>(&timer)));
    EXPECT_NE(0, uv_is_closing(reinterpret_cast<uv_handle_t*>(&idle)));
    EXPECT_EQ(0, cl_ev::Loop::UncleanCount());
}

TEST(Closing, RunsACloseCallbackThatIsStillDue) {
    uv_timer_t timer;
    bool closed = false;
    timer.data = &closed;
    OnIsolatedThread([&timer] {
        ASSERT_EQ(0, uv_timer_init(cl_event_loop_current(), &timer));
        uv_close(reinterpret_cast<uv_handle_t*>(&timer),
                 [](uv_handle_t* handle) { *static_cast<bool*>(handle->data) = true; });
    });
    EXPECT_TRUE(closed);
}

TEST(Closing, FailsAWriteThatIsStillWaiting) {
    int ends[2];
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends));
    uv_pipe_t pipe;
    uv_write_t request;
    int status = 0;
    request.data = &status;
    std::string data(8U << 20U, 'x');
    OnIsolatedThread([&] {
        ASSERT_EQ(0, uv_pipe_init(cl_event_loop_current(), &pipe, 0));
        ASSERT_EQ(0, uv_pipe_open(&pipe, ends[0]));
        const uv_buf_t buffer = uv_buf_init(data.data(), static_cast<unsigned>(data.size()));
        ASSERT_EQ(0, uv_write(&request, reinterpret_cast<uv_stream_t*>(&pipe), &buffer, 1,
                              [](uv_write_t* written, int code) {
                                  *static_cast<int*>(written->data) = code;
                              }));
    });
    close(ends[1]);
    EXPECT_EQ(UV_ECANCELED, status);
    EXPECT_EQ(0, cl_ev::Loop::UncleanCount());
}

TEST(Closing, WaitsForWorkInTheThreadPool) {
    uv_work_t work;
    bool done = false;
    work.data = &done;
    OnIsolatedThread([&work] {
        ASSERT_EQ(
            0, uv_queue_work(
                   cl_event_loop_current(), &work, [](uv_work_t*) { usleep(20000); },
                   [](uv_work_t* finished, int) { *static_cast<bool*>(finished->data) = true; }));
    });
    EXPECT_TRUE(done);
    EXPECT_EQ(0, cl_ev::Loop::UncleanCount());
}

TEST(Closing, ACloseCallbackMayOpenAHandle) {
    static uv_timer_t first;
    static uv_timer_t second;
    OnIsolatedThread([] {
        ASSERT_EQ(0, uv_timer_init(cl_event_loop_current(), &first));
        uv_close(reinterpret_cast<uv_handle_t*>(&first), [](uv_handle_t* handle) {
            (void)uv_timer_init(handle->loop, &second);
            (void)cl_timerplus_start(0, 1000, Nothing, nullptr);
        });
    });
    EXPECT_NE(0, uv_is_closing(reinterpret_cast<uv_handle_t*>(&second)));
    EXPECT_EQ(0, cl_ev::Loop::UncleanCount());
}

// The counter that the other tests look at must be able to tell. In a process of its own, since
// such a loop's memory is given up.
TEST(Closing, ALoopThatCannotBeClosedIsCounted) {
    const pid_t child = fork();
    if (child == 0) {
        static uv_timer_t handle;
        static void (*reopen)(uv_handle_t*) = [](uv_handle_t* closed) {
            (void)uv_timer_init(closed->loop, &handle);
            uv_close(closed, reopen);
        };
        OnIsolatedThread([] {
            (void)uv_timer_init(cl_event_loop_current(), &handle);
            uv_close(reinterpret_cast<uv_handle_t*>(&handle), reopen);
        });
        _exit(cl_ev::Loop::UncleanCount() == 1 ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    EXPECT_EQ(0, status);
}

TEST(Closing, HappensWhenTheEntryLeavesThroughPthreadExit) {
    pthread_t thread = {};
    uv_timer_t timer;
    OnIsolatedThread([] {});  // opens what libuv keeps for the process
    const auto entry = [](void* handle) -> void* {
        (void)uv_timer_init(cl_event_loop_current(), static_cast<uv_timer_t*>(handle));
        (void)cl_timerplus_start(0, 1000, Nothing, nullptr);
        pthread_exit(handle);
    };
    const auto descriptors = kxtest::OpenDescriptors();
    ASSERT_EQ(0, cl_ev_create_isolated_thread(&thread, 0, entry, &timer));
    void* result = nullptr;
    ASSERT_EQ(0, pthread_join(thread, &result));
    EXPECT_EQ(&timer, result);
    EXPECT_NE(0, uv_is_closing(reinterpret_cast<uv_handle_t*>(&timer)));
    EXPECT_EQ(descriptors, kxtest::OpenDescriptors());
}

TEST(Closing, HappensOnAThreadThatMadeItsLoopItself) {
    std::thread([] { (void)cl_event_loop_once(); }).join();  // opens what libuv keeps
    const auto descriptors = kxtest::OpenDescriptors();
    uv_timer_t timer;
    std::thread([&timer] {
        ASSERT_EQ(0, uv_timer_init(cl_event_loop_current(), &timer));
        ASSERT_NE(nullptr, cl_timerplus_start(0, 1, Nothing, nullptr));
        ASSERT_NE(0, cl_event_loop_once());
    }).join();
    EXPECT_NE(0, uv_is_closing(reinterpret_cast<uv_handle_t*>(&timer)));
    EXPECT_EQ(descriptors, kxtest::OpenDescriptors());
    EXPECT_EQ(0, cl_ev::Loop::UncleanCount());
}

TEST(Closing, AThreadThatMadeItsLoopItselfCannotBeEndedByABrokenPipe) {
    std::thread([] {
        ASSERT_NE(nullptr, cl_event_loop_current());
        int ends[2];
        ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
        close(ends[1]);
        EXPECT_EQ(-1, write(ends[0], "x", 1));
        EXPECT_EQ(EPIPE, errno);
        close(ends[0]);
    }).join();
}

}  // namespace
