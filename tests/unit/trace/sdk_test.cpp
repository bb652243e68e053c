// The bridge, the agent's own SDK and the module as they meet in an installation.
#include <dlfcn.h>

#include <filesystem>
#include <string>

#include "fake_agent.h"
#include "installation.h"
#include "log_capture.h"
#include "trace/ipchange.h"

namespace fs = std::filesystem;

namespace {

bool IsMapped(const std::string& name) {
    return kxtest::ReadFile("/proc/self/maps").find("/" + name) != std::string::npos;
}

}  // namespace

// One test, since the instance is made once a process.
TEST(Sdk, WritesTheEventAsALine) {
    kxtest::ClearInstallation();
    const fs::path root = kxtest::InstallationRoot();
    fs::create_directory(root / "lib");
    fs::copy_file(KX_SDK, root / "lib/libkxe_bpsdk.so");
    fs::copy_file(fs::path(KX_FAKE_LIBRARIES) / "noxipc_7.so", root / "lib/libnoxipc.so");
    kxtest::WriteFile("config/agent_cfg.json", R"({"version": {"components": "6.0.1"}})");

    ReportIpChangeTrace({"10.0.0.2", "10.0.0.10"});

    const std::string line = kxtest::ReadFile(root / "var/trace/events.jsonl");
    EXPECT_EQ(line.substr(0, 9), R"({"time":")");
    ASSERT_GE(line.size(), 34U);
    EXPECT_EQ(line.substr(34),
              R"(,"module":"kxepinfo","event":"NewIPBPTrace","product":"EDR","version":"6.0.1",)"
              R"("host_id":"7","body":{"type": 601, "ip": ["10.0.0.10", "10.0.0.2"]}})"
              "\n");
}

TEST(Module, DoesNotBringTheSdk) {
    void* const module = dlopen(KX_MODULE, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(module, nullptr) << dlerror();
    EXPECT_TRUE(IsMapped("libkxepinfo.so"));
    EXPECT_EQ(dlsym(module, "kxe_bp_init"), nullptr);
    EXPECT_EQ(dlclose(module), 0);
}
