// The library as it is shipped, loaded and unloaded.
#include <gtest/gtest.h>
#include <pthread.h>

#include <thread>

#include "cl_ev.h"
#include "loaded_library.h"

namespace {

using kxtest::IsMapped;
using kxtest::LoadedLibrary;

void* ArmATimer(void* argument) {
    const auto* library = static_cast<LoadedLibrary*>(argument);
    auto* start = library->Find<decltype(cl_timerplus_start)>("cl_timerplus_start");
    auto* once = library->Find<decltype(cl_event_loop_once)>("cl_event_loop_once");
    (void)start(
        0, 1, [](cl_timerplus*) {}, nullptr);
    (void)once();
    return nullptr;
}

TEST(Unload, AfterItsThreadsHaveEndedWorksAHundredTimes) {
    for (int round = 0; round < 100; ++round) {
        {
            LoadedLibrary library(CL_EV_LIBRARY);
            auto* create = library.Find<decltype(cl_ev_create_isolated_thread)>(
                "cl_ev_create_isolated_thread");
            pthread_t thread = {};
            ASSERT_EQ(0, create(&thread, 0, ArmATimer, &library));
            ASSERT_EQ(0, pthread_join(thread, nullptr));
        }
        ASSERT_FALSE(IsMapped(CL_EV_LIBRARY));
    }
}

TEST(Unload, WhileAThreadWithALoopOfItsOwnIsAliveDoesNotPullTheCodeAway) {
    std::thread([] {
        {
            LoadedLibrary library(CL_EV_LIBRARY);
            ArmATimer(&library);
        }
        EXPECT_TRUE(IsMapped(CL_EV_LIBRARY));
        // The loop is closed by the library's code when this thread ends.
    }).join();
}

}  // namespace
