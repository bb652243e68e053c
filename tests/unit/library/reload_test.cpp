// Loading and unloading the module in one process.
#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <iterator>
#include <memory>
#include <string>

#include "installation.h"
#include "loaded_module.h"
#include "open_files.h"

namespace fs = std::filesystem;

// Each start of the module leaves one bus address behind: the configuration centre's is never
// released. Read by LeakSanitizer; in other builds nobody calls it.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
    return "leak:nox_addr_create\n";
}

namespace {

constexpr int kRounds = 100;
constexpr int kWarmUp = 10;  // fills caches of the C library and of the loader

std::size_t Threads() {
    return kxtest::EntryCount("/proc/self/task");
}

void OneLife() {
    const LoadedModule module;
    ASSERT_EQ(module.init(), 0);
    ASSERT_EQ(module.uninit(), 0);
}

class Reload : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        SetInterval(3600);
    }
};

}  // namespace

TEST_F(Reload, TheModuleIsGoneAfterItsUnloading) {
    {
        const LoadedModule module;
        EXPECT_TRUE(IsMapped("libkxepinfo.so"));
        ASSERT_EQ(module.init(), 0);
        ASSERT_EQ(module.uninit(), 0);
    }
    EXPECT_FALSE(IsMapped("libkxepinfo.so"));
}

TEST_F(Reload, TheModuleCanBeUnloadedWithoutAStart) {
    { const LoadedModule module; }
    EXPECT_FALSE(IsMapped("libkxepinfo.so"));
}

TEST_F(Reload, AHundredTimesLeaveNoThreadNoDescriptorAndNoMemory) {
    for (int i = 0; i < kWarmUp; ++i) {
        OneLife();
    }
    const std::size_t descriptors = kxtest::OpenDescriptors();
    const std::size_t threads = Threads();
    // Sanitizers count nothing here; they tell of leaks in their own way at the end.
    const std::size_t allocated = mallinfo2().uordblks;
    for (int i = 0; i < kRounds; ++i) {
        OneLife();
        ASSERT_FALSE(IsMapped("libkxepinfo.so")) << i;
    }
    EXPECT_EQ(kxtest::OpenDescriptors(), descriptors);
    EXPECT_EQ(Threads(), threads);
    // One bus address a round remains, and nothing else.
    EXPECT_LE(mallinfo2().uordblks, allocated + kRounds * 128);
}

TEST_F(Reload, OneLoadedModuleStartsAndStopsAHundredTimes) {
    const LoadedModule module;
    for (int i = 0; i < kRounds; ++i) {
        ASSERT_EQ(module.init(), 0) << i;
        ASSERT_EQ(module.uninit(), 0) << i;
    }
}

TEST_F(Reload, LinkStateStartsAnewWithEachLoading) {
    {
        const LoadedModule module;
        auto& state = *static_cast<uint32_t*>(module.symbol("g_preOnlineState"));
        auto& address = *static_cast<std::string*>(module.symbol("g_strCurConnectIp"));
        EXPECT_EQ(state, 1U);
        state = 0;
        address = "10.0.0.1";
    }
    const LoadedModule module;
    EXPECT_EQ(*static_cast<uint32_t*>(module.symbol("g_preOnlineState")), 1U);
    EXPECT_EQ(*static_cast<uint32_t*>(module.symbol("Attempt_Times")), 0U);
    EXPECT_EQ(*static_cast<std::string*>(module.symbol("g_strCurConnectIp")), "");
    EXPECT_EQ(*static_cast<std::string*>(module.symbol("g_strPreConnectIp")), "");
}

TEST_F(Reload, AnotherLibraryWithTheSameSchemaLivesBesideIt) {
    auto module = std::make_unique<LoadedModule>();
    const LoadedLibrary neighbour(KX_NEIGHBOUR);
    auto* const round_trip = neighbour.function<unsigned(unsigned)>("neighbour_round_trip");
    ASSERT_EQ(module->init(), 0);
    EXPECT_EQ(round_trip(14), 14U);
    ASSERT_EQ(module->uninit(), 0);
    EXPECT_EQ(round_trip(6), 6U);

    module.reset();
    EXPECT_FALSE(IsMapped("libkxepinfo.so"));
    EXPECT_EQ(round_trip(2), 2U);

    module = std::make_unique<LoadedModule>();
    ASSERT_EQ(module->init(), 0);
    EXPECT_EQ(round_trip(4), 4U);
    ASSERT_EQ(module->uninit(), 0);
}

TEST_F(Reload, TheModuleOutlivesAnotherLibraryWithTheSameSchema) {
    auto neighbour = std::make_unique<LoadedLibrary>(KX_NEIGHBOUR);
    EXPECT_EQ(neighbour->function<unsigned(unsigned)>("neighbour_round_trip")(8), 8U);
    const LoadedModule module;
    neighbour.reset();
    EXPECT_FALSE(IsMapped("libneighbour.so"));
    ASSERT_EQ(module.init(), 0);
    ASSERT_EQ(module.uninit(), 0);
}
