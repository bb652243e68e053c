// In what order an instance is made, and by which calls.
#include <dlfcn.h>
#include <gmock/gmock.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "common/path.h"
#include "fake_agent.h"
#include "trace_fixture.h"

using kxtest::NewApi;
using testing::ElementsAre;

namespace {

std::vector<std::string> steps;
std::string without_path;  // the path that expands to nothing
std::vector<std::size_t> path_rooms;
bool path_rooms_are_clear = true;
int load_flags = 0;

class Steps : public kxtest::TraceTest {
  protected:
    void SetUp() override {
        TraceTest::SetUp();
        kxtest::Agent().kxe_file_open = [](const char*, const char*) -> FILE* {
            steps.emplace_back("read version");
            return nullptr;
        };
        steps.clear();
        path_rooms.clear();
        without_path.clear();
    }
};

std::string LastOf(std::string_view path) {
    return std::string(path.substr(path.rfind('/') + 1));
}

}  // namespace

// In front of the functions, by the linker's --wrap. Visible, since the linker counts the calls of
// a sanitizer's library among the wrapped ones.
#pragma GCC visibility push(default)
extern "C" {

void* __real_dlopen(const char* path, int flags);
void* __wrap_dlopen(const char* path, int flags);
void* __real_dlsym(void* handle, const char* name);
void* __wrap_dlsym(void* handle, const char* name);

void* __wrap_dlopen(const char* path, int flags) {
    steps.push_back("load " + LastOf(path));
    load_flags = flags;
    return __real_dlopen(path, flags);
}

// Called by the test support as well, for its own purposes.
void* __wrap_dlsym(void* handle, const char* name) {
    if (handle != RTLD_NEXT) {
        steps.push_back(name);
    }
    return __real_dlsym(handle, name);
}

}  // extern "C"
#pragma GCC visibility pop

void RealTransform(const char* in, char* out,
                   std::size_t out_size) asm("__real__Z26ep_dirutils_path_transformPKcPcm");
void WrapTransform(const char* in, char* out,
                   std::size_t out_size) asm("__wrap__Z26ep_dirutils_path_transformPKcPcm");
void WrapTransform(const char* in, char* out, std::size_t out_size) {
    path_rooms.push_back(out_size);
    path_rooms_are_clear = path_rooms_are_clear &&
                           std::all_of(out, out + out_size, [](char byte) { return byte == '\0'; });
    if (in != without_path) {
        RealTransform(in, out, out_size);
    }
}

TEST_F(Steps, AreTakenInOrder) {
    kxtest::InstallSdk("sdk");
    kxtest::InstallNoxipc("noxipc_7");
    NewApi();
    EXPECT_THAT(steps,
                ElementsAre("load libkxe_bpsdk.so", "kxe_bp_trace", "kxe_bp_trace_unicode",
                            "kxe_bp_trace_utf8", "kxe_bp_other", "kxe_bp_init", "kxe_bp_uninit",
                            "load libnoxipc.so", "nox_get_hostid", "read version"));
}

TEST_F(Steps, GoOnWithoutLibraries) {
    NewApi();
    EXPECT_THAT(steps, ElementsAre("load libkxe_bpsdk.so", "load libnoxipc.so", "read version"));
}

TEST_F(Steps, EverythingOfALibraryIsResolvedAtItsLoading) {
    NewApi();
    EXPECT_EQ(load_flags & (RTLD_NOW | RTLD_LAZY | RTLD_GLOBAL | RTLD_NODELETE), RTLD_NOW);
}

TEST_F(Steps, PathsAreExpandedIntoFourClearKibibytes) {
    NewApi();
    EXPECT_THAT(path_rooms, ElementsAre(4096U, 4096U, 4096U));
    EXPECT_TRUE(path_rooms_are_clear);
}

// An empty name would load the program itself.
TEST_F(Steps, AnEmptyPathIsNotLoadedForTheSdk) {
    without_path = "@/../lib/libkxe_bpsdk.so";
    EXPECT_EQ(NewApi()->sdk_handle, nullptr);
    EXPECT_THAT(steps, ElementsAre("load libnoxipc.so", "read version"));
}

TEST_F(Steps, AnEmptyPathIsNotLoadedForTheBusLibrary) {
    without_path = "@/../lib/libnoxipc.so";
    EXPECT_EQ(NewApi()->ipc_handle, nullptr);
    EXPECT_THAT(steps, ElementsAre("load libkxe_bpsdk.so", "read version"));
}
