// Stopping the module at any point of its life, with the agent's real libraries around it. That a
// stop returns is what these tests show; the test runner's time limit is what would end a hang.
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <functional>
#include <latch>
#include <thread>

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

namespace {

class Stop : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        SetInterval(3600);
        while_sampling = [] {};
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
    EXPECT_EQ(CountOf(ModuleLog(), "send msg to mgr failed"), 0U);  // nobody was told
}

TEST_F(Stop, InTheMiddleOfACycleEndsItWithoutAnUpload) {
    const SilentManager manager;
    std::latch sampling(1);
    std::latch stop_requested(1);
    while_sampling = [&] {
        sampling.count_down();
        stop_requested.wait();
    };
    const LoadedModule module;
    ASSERT_EQ(module.init(), 0);
    sampling.wait();
    std::thread host([&] { EXPECT_EQ(module.uninit(), 0); });
    // The stop has begun once the host logged it; the flag is set right behind.
    WaitFor([] { return CountOf(ModuleLog(), "kxepinfo uninit") == 1; });
    stop_requested.count_down();
    host.join();
    ExpectCleanEnd();
    EXPECT_EQ(manager.uploads(), 0);
}

TEST_F(Stop, BetweenTwoCyclesOfTheTimer) {
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
