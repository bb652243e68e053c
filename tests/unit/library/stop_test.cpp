// Stopping the module at any point of its life, with the agent's real libraries around it. That a
// stop returns is what these tests show; the test runner's time limit is what would end a hang.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <latch>
#include <string>
#include <thread>

#include "cl_ev.h"
#include "installation.h"
#include "loaded_module.h"
#include "silent_manager.h"

// Each start of the module leaves one bus address behind: the configuration centre's is never
// released. Read by LeakSanitizer; in other builds nobody calls it.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:nox_addr_create\n";
}

namespace {

std::function<void()> while_sampling;
std::function<void()> when_woken;
std::atomic<int> samples{0};

std::size_t CountOf(const std::string& whole, const std::string& text) {
    std::size_t count = 0;
    for (auto at = whole.find(text); at != std::string::npos; at = whole.find(text, at + 1)) {
        ++count;
    }
    return count;
}

void WaitFor(const std::function<bool()>& fact) {
    while (!fact()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

}  // namespace

// In front of the C library's: the second in which processor load is sampled.
extern "C" __attribute__((visibility("default"))) unsigned sleep(unsigned /*seconds*/) {
    while_sampling();
    ++samples;
    return 0;
}

// In front of the event-loop library's: the module calls it once the exit flag is set.
extern "C" __attribute__((visibility("default"))) void cl_event_loop_wake(pthread_t thread) {
    when_woken();
    static const auto next =
        reinterpret_cast<void (*)(pthread_t)>(dlsym(RTLD_NEXT, "cl_event_loop_wake"));
    next(thread);
}

namespace {

class Stop : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        SetInterval(3600);
        while_sampling = [] {};
        when_woken = [] {};
        samples = 0;
    }

    // The worker came to its end and left the bus.
    static void ExpectCleanEnd() {
        EXPECT_EQ(CountOf(ModuleLog(), "kxepinfo module work thread exit"), 1U);
        EXPECT_EQ(CountOf(ModuleLog(), "IPC is unitializing..."), 2U);
    }
};

}  // namespace

TEST_F(Stop, RightAfterTheStart) {
    const LoadedModule module;
    ASSERT_EQ(module.init(), 0);
    EXPECT_EQ(module.uninit(), 0);
    ExpectCleanEnd();
}

TEST_F(Stop, WhileIdleWithoutAManager) {
    const LoadedModule module;
    ASSERT_EQ(module.init(), 0);
    WaitFor([] { return CountOf(ModuleLog(), "upload gap is 3600") == 1; });
    EXPECT_EQ(module.uninit(), 0);
    ExpectCleanEnd();
}

TEST_F(Stop, AfterTheManagerWasFoundMissing) {
    const LoadedModule module;
    ASSERT_EQ(module.init(), 0);
    WaitFor([] { return CountOf(ModuleLog(), "send msg to mgr failed with error msg:") == 1; });
    EXPECT_EQ(module.uninit(), 0);
    ExpectCleanEnd();
}

TEST_F(Stop, WhileTheManagerIsSilent) {
    const SilentManager manager;
    const LoadedModule module;
    ASSERT_EQ(module.init(), 0);
    manager.WaitForUpload();
    EXPECT_EQ(module.uninit(), 0);
    ExpectCleanEnd();
}

TEST_F(Stop, InTheMiddleOfACycleEndsItWithoutAnUpload) {
    const SilentManager manager;
    std::latch sampling(1);
    std::latch stop_requested(1);
    when_woken = [&] { stop_requested.count_down(); };
    while_sampling = [&] {
        sampling.count_down();
        stop_requested.wait();
    };
    const LoadedModule module;
    ASSERT_EQ(module.init(), 0);
    sampling.wait();
    EXPECT_EQ(module.uninit(), 0);
    when_woken = [] {};  // the manager will be woken too
    ExpectCleanEnd();
    EXPECT_EQ(manager.uploads(), 0);
}

TEST_F(Stop, AfterACycleOfTheTimer) {
    SetInterval(2);
    const SilentManager manager;
    const LoadedModule module;
    ASSERT_EQ(module.init(), 0);
    WaitFor([] { return samples == 2; });
    EXPECT_EQ(module.uninit(), 0);
    ExpectCleanEnd();
}

TEST_F(Stop, AndAgainInOneProcess) {
    const SilentManager manager;
    const LoadedModule module;
    for (int i = 0; i < 10; ++i) {
        ASSERT_EQ(module.init(), 0);
        WaitFor([&] { return manager.uploads() == i + 1; });
        ASSERT_EQ(module.uninit(), 0);
    }
}
