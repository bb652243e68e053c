// The one instance. Each test starts without it, in a process of its own.
#include <dlfcn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <new>

#include "log_capture.h"
#include "trace_fixture.h"

using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

bool no_memory = false;

class Instance : public kxtest::TraceTest {
  protected:
    void TearDown() override { EXPECT_EQ(KxebpApi::Created(), 0U) << "left to the next test"; }

    // The part of a test that makes the instance; it passes when that part does.
    static void InChild(const std::function<void()>& part) {
        const pid_t child = fork();
        if (child == 0) {
            (void)prctl(PR_SET_PDEATHSIG, SIGKILL);
            part();
            _exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, EXIT_SUCCESS);
    }
};

}  // namespace

// In front of operator new that does not throw, by the linker's --wrap. Visible, since the linker
// counts the calls of a sanitizer's library among the wrapped ones.
#pragma GCC visibility push(default)
extern "C" {

void* __real__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);
void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag);

void* __wrap__ZnwmRKSt9nothrow_t(std::size_t size, const std::nothrow_t& tag) {
    return no_memory ? nullptr : __real__ZnwmRKSt9nothrow_t(size, tag);
}

}  // extern "C"
#pragma GCC visibility pop

TEST_F(Instance, IsOne) {
    InChild([] {
        KxebpApi* const api = KxebpApi::get();
        ASSERT_NE(api, nullptr);
        EXPECT_EQ(KxebpApi::get(), api);
        EXPECT_EQ(KxebpApi::Created(), 1U);
    });
}

TEST_F(Instance, StartsTheSdkOnce) {
    InChild([] {
        kxtest::InstallSdk("sdk");
        (void)KxebpApi::get();
        ASSERT_NE(KxebpApi::get(), nullptr);
        EXPECT_EQ(kxtest::CallsOf(*KxebpApi::get()).inits, 1);
    });
}

TEST_F(Instance, IsNullWithoutMemoryAndMadeByALaterCall) {
    InChild([] {
        no_memory = true;
        EXPECT_EQ(KxebpApi::get(), nullptr);
        EXPECT_EQ(KxebpApi::get(), nullptr);
        EXPECT_EQ(KxebpApi::Created(), 0U);
        EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
        no_memory = false;
        EXPECT_NE(KxebpApi::get(), nullptr);
        EXPECT_EQ(KxebpApi::Created(), 1U);
    });
}

TEST_F(Instance, KeepsItsVersionAndId) {
    InChild([] {
        (void)KxebpApi::get();
        kxtest::WriteFile("config/agent_cfg.json", R"({"version": {"components": "6.0.1"}})");
        kxtest::InstallNoxipc("noxipc_7");
        ASSERT_NE(KxebpApi::get(), nullptr);
        EXPECT_STREQ(KxebpApi::get()->version, "3.7.2.20");
        EXPECT_STREQ(KxebpApi::get()->host_id, "0000000000");
    });
}

TEST_F(Instance, DoesNotLookForAnSdkAgain) {
    InChild([] {
        (void)KxebpApi::get();
        kxtest::InstallSdk("sdk");
        ASSERT_NE(KxebpApi::get(), nullptr);
        EXPECT_EQ(KxebpApi::get()->sdk_handle, nullptr);
    });
}

// The bus that the module itself talks on is not loaded a second time.
TEST_F(Instance, RefersToABusLibraryThatIsLoadedAlready) {
    InChild([] {
        fs::create_directory(kxtest::InstallationRoot() / "lib");
        fs::create_symlink(KX_NOXIPC, kxtest::InstallationRoot() / "lib/libnoxipc.so");
        void* const loaded = dlopen("libnoxipc.so", RTLD_NOW | RTLD_NOLOAD);
        ASSERT_NE(loaded, nullptr);
        ASSERT_NE(KxebpApi::get(), nullptr);
        EXPECT_EQ(KxebpApi::get()->ipc_handle, loaded);
    });
}
