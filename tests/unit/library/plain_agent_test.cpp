// The module with other libraries of the agent than ours: an event loop that cannot be woken, and
// another bus. They are loaded first, so that the loader finds the module's needs satisfied.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "installation.h"
#include "loaded_module.h"

namespace {

class PlainAgent : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        SetInterval(2);
    }

    LoadedLibrary event_loop{KX_PLAIN_CL_EV};
    LoadedLibrary bus{KX_PLAIN_NOXIPC};
    LoadedModule module;
};

}  // namespace

TEST_F(PlainAgent, TheEventLoopInUseCannotBeWoken) {
    EXPECT_TRUE(IsMapped("plain_agent/libcl_ev.so"));
    EXPECT_FALSE(IsMapped("agent/cl_ev/libcl_ev.so"));
    void* const handle = dlopen(KX_PLAIN_CL_EV, RTLD_NOW | RTLD_NOLOAD);
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(dlsym(handle, "cl_event_loop_wake"), nullptr);
    EXPECT_EQ(dlclose(handle), 0);
}

TEST_F(PlainAgent, TheModuleUploadsAndStops) {
    auto* const uploads = bus.function<int()>("plain_uploads");
    ASSERT_EQ(module.init(), 0);
    while (uploads() < 2) {  // the first cycle's and one of the timer's
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(module.uninit(), 0);
}
