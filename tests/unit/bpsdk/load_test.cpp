// The library as a module finds it: loaded by its file, every function looked up by name.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include "installation.h"
#include "kxe_bpsdk.h"

namespace {

class Loaded : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        ASSERT_NE(library_, nullptr) << dlerror();
    }
    void TearDown() override { EXPECT_EQ(dlclose(library_), 0); }

    template <class Function>
    Function* Find(const char* name) {
        return reinterpret_cast<Function*>(dlsym(library_, name));
    }

    void* const library_ = dlopen(KX_BPSDK_FILE, RTLD_NOW | RTLD_LOCAL);
};

}  // namespace

TEST_F(Loaded, GivesEveryFunction) {
    for (const char* name : {"kxe_bp_trace", "kxe_bp_trace_unicode", "kxe_bp_trace_utf8",
                             "kxe_bp_other", "kxe_bp_init", "kxe_bp_uninit"}) {
        EXPECT_NE(dlsym(library_, name), nullptr) << name;
    }
}

TEST_F(Loaded, TracesAnEvent) {
    auto* const init = Find<decltype(kxe_bp_init)>("kxe_bp_init");
    auto* const trace = Find<decltype(kxe_bp_trace_utf8)>("kxe_bp_trace_utf8");
    ASSERT_NE(init, nullptr);
    ASSERT_NE(trace, nullptr);
    const kxe_bp_header header{};
    EXPECT_EQ(init(), 0);
    EXPECT_EQ(trace(&header, "%s", "{}"), 0);
    const std::string line =
        kxtest::ReadFile(kxtest::InstallationRoot() / "var/trace/events.jsonl");
    const std::string end =
        R"("module":"","event":"","product":"","version":"","host_id":"","body":{}})";
    ASSERT_GT(line.size(), 35U);
    EXPECT_EQ(line.substr(35), end + '\n');
}

TEST_F(Loaded, ExportsNothingOfItsInside) {
    EXPECT_EQ(dlsym(library_, "_ZN5bpsdk10AppendLineESt17basic_string_viewIcSt11char_traitsIcEE"),
              nullptr);
}

TEST_F(Loaded, CanBeUnloadedAndLoadedAgain) {
    for (int i = 0; i < 100; ++i) {
        void* const again = dlopen(KX_BPSDK_FILE, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(again, nullptr) << dlerror();
        ASSERT_EQ(dlclose(again), 0);
    }
}
