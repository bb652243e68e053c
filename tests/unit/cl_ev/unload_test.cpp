// The library as it is shipped, loaded and unloaded.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <thread>

#include "cl_ev.h"

namespace {

struct Library {
    void* handle = dlopen(CL_EV_LIBRARY, RTLD_NOW | RTLD_LOCAL);

    template <class Function>
    Function* Find(const char* name) const {
        return reinterpret_cast<Function*>(dlsym(handle, name));
    }
};

bool IsMapped() {
    void* const handle = dlopen(CL_EV_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
    if (handle != nullptr) {
        dlclose(handle);
    }
    return handle != nullptr;
}

void* ArmATimer(void* library) {
    auto* start =
        static_cast<Library*>(library)->Find<decltype(cl_timerplus_start)>("cl_timerplus_start");
    auto* once =
        static_cast<Library*>(library)->Find<decltype(cl_event_loop_once)>("cl_event_loop_once");
    (void)start(
        0, 1, [](cl_timerplus*) {}, nullptr);
    (void)once();
    return nullptr;
}

TEST(Unload, AfterItsThreadsHaveEndedWorksAHundredTimes) {
    for (int round = 0; round < 100; ++round) {
        Library library;
        ASSERT_NE(nullptr, library.handle) << dlerror();
        auto* create =
            library.Find<decltype(cl_ev_create_isolated_thread)>("cl_ev_create_isolated_thread");
        pthread_t thread = {};
        ASSERT_EQ(0, create(&thread, 0, ArmATimer, &library));
        ASSERT_EQ(0, pthread_join(thread, nullptr));
        ASSERT_EQ(0, dlclose(library.handle));
        ASSERT_FALSE(IsMapped());
    }
}

TEST(Unload, WhileAThreadWithALoopOfItsOwnIsAliveDoesNotPullTheCodeAway) {
    std::thread([] {
        Library library;
        ASSERT_NE(nullptr, library.handle) << dlerror();
        ArmATimer(&library);
        ASSERT_EQ(0, dlclose(library.handle));
        EXPECT_TRUE(IsMapped());
        // The loop is closed by the library's code when this thread ends.
    }).join();
}

}  // namespace
