#include "trace_fixture.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "fake_agent.h"
#include "log_capture.h"

namespace fs = std::filesystem;

namespace {

void Install(const std::string& name, const char* file) {
    const fs::path library = kxtest::InstallationRoot() / "lib" / file;
    fs::create_directories(library.parent_path());
    fs::copy_file(fs::path(KX_FAKE_LIBRARIES) / (name + ".so"), library);
}

void Unload(void* handle) {
    if (handle != nullptr) {
        EXPECT_EQ(dlclose(handle), 0);
    }
}

}  // namespace

void kxtest::InstallSdk(const std::string& name) {
    Install(name, "libkxe_bpsdk.so");
}

void kxtest::InstallNoxipc(const std::string& name) {
    Install(name, "libnoxipc.so");
}

void kxtest::UnloadApi::operator()(KxebpApi* api) const {
    Unload(api->sdk_handle);
    Unload(api->ipc_handle);
    delete api;
}

kxtest::Api kxtest::NewApi() {
    return Api(new KxebpApi);
}

const SdkCalls& kxtest::CallsOf(const KxebpApi& api) {
    void* const calls = dlsym(api.sdk_handle, "fake_sdk_calls");
    if (calls == nullptr) {
        std::fputs("the fake SDK is not loaded\n", stderr);
        std::abort();
    }
    return *static_cast<const SdkCalls*>(calls);
}

void kxtest::TraceTest::SetUp() {
    InstallationTest::SetUp();
    ResetAgent();
    ClearLog();
}

void kxtest::TraceTest::TearDown() {
    ResetAgent();
}
