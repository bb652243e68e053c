// What an instance holds, with libraries and agent_cfg.json of every kind in the installation.
#include <fcntl.h>
#include <jansson.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "fake_agent.h"
#include "log_capture.h"
#include "open_files.h"
#include "trace_fixture.h"

using kxtest::CallsOf;
using kxtest::InstallNoxipc;
using kxtest::InstallSdk;
using kxtest::LoggedLines;
using kxtest::NewApi;
using testing::IsEmpty;
namespace fs = std::filesystem;

// Under a name that the fake SDK has as well.
extern "C" __attribute__((visibility("default"))) int fake_sdk_owner();
extern "C" int fake_sdk_owner() {
    return 2;
}

namespace {

int descriptor_flags = 0;  // of the last JSON file that was read

// The names of the SDK's functions that an instance lacks.
std::vector<std::string> Lacking(const KxebpApi& api) {
    std::vector<std::string> names;
    const auto add = [&names](const char* name, bool lacks) {
        if (lacks) {
            names.emplace_back(name);
        }
    };
    add("kxe_bp_init", api.kxe_bp_init == nullptr);
    add("kxe_bp_other", api.kxe_bp_other == nullptr);
    add("kxe_bp_trace", api.kxe_bp_trace == nullptr);
    add("kxe_bp_trace_unicode", api.kxe_bp_trace_unicode == nullptr);
    add("kxe_bp_trace_utf8", api.kxe_bp_trace_utf8 == nullptr);
    add("kxe_bp_uninit", api.kxe_bp_uninit == nullptr);
    return names;
}

class ApiTest : public kxtest::TraceTest {
  protected:
    // The version of an instance made with this agent_cfg.json.
    static std::string VersionFrom(std::string_view configuration) {
        kxtest::WriteFile("config/agent_cfg.json", configuration);
        return NewApi()->version;
    }
};

class SdkLacking : public ApiTest, public testing::WithParamInterface<const char*> {};

class Rejected : public ApiTest, public testing::WithParamInterface<const char*> {};

}  // namespace

// Of the configuration, which is open while this is asked.
int FlagsOfTheConfiguration() {
    for (const auto& entry : fs::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (fs::read_symlink(entry.path(), gone).filename() == "agent_cfg.json") {
            return fcntl(std::stoi(entry.path().filename()), F_GETFD);
        }
    }
    return -1;
}

// In front of Jansson's, by the linker's --wrap.
extern "C" json_t* __real_json_load_callback(json_load_callback_t callback, void* data,
                                             size_t flags, json_error_t* error);
extern "C" json_t* __wrap_json_load_callback(json_load_callback_t callback, void* data,
                                             size_t flags, json_error_t* error);
extern "C" json_t* __wrap_json_load_callback(json_load_callback_t callback, void* data,
                                             size_t flags, json_error_t* error) {
    descriptor_flags = FlagsOfTheConfiguration();
    return __real_json_load_callback(callback, data, flags, error);
}

TEST_F(ApiTest, HoldsInitialValuesInABareInstallation) {
    const kxtest::Api api = NewApi();
    EXPECT_EQ(api->sdk_handle, nullptr);
    EXPECT_EQ(api->ipc_handle, nullptr);
    EXPECT_EQ(Lacking(*api).size(), 6U);
    EXPECT_EQ(api->nox_get_hostid, nullptr);
    EXPECT_STREQ(api->version, "3.7.2.20");
    EXPECT_STREQ(api->host_id, "0000000000");
}

TEST_F(ApiTest, NothingThatIsMissingIsLogged) {
    NewApi();
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ApiTest, FindsEveryFunctionOfTheSdk) {
    InstallSdk("sdk");
    EXPECT_THAT(Lacking(*NewApi()), IsEmpty());
}

TEST_F(ApiTest, EachFunctionIsFoundUnderItsOwnName) {
    InstallSdk("sdk");
    const kxtest::Api api = NewApi();
    const BpEventHeader header = {};
    (void)api->kxe_bp_trace_utf8(&header, "%s", "x");
    EXPECT_EQ(CallsOf(*api).traces, 1);
    api->kxe_bp_uninit();
    EXPECT_EQ(CallsOf(*api).uninits, 1);
    EXPECT_EQ(api->kxe_bp_trace(nullptr, ""), 1);
    EXPECT_EQ(api->kxe_bp_trace_unicode(nullptr, ""), 2);
    EXPECT_EQ(api->kxe_bp_other(0, nullptr, 0), 3);
}

TEST_F(ApiTest, StartsTheSdkOnceAndDoesNotEndIt) {
    InstallSdk("sdk");
    const kxtest::Api api = NewApi();
    EXPECT_EQ(CallsOf(*api).inits, 1);
    EXPECT_EQ(CallsOf(*api).uninits, 0);
    EXPECT_EQ(CallsOf(*api).traces, 0);
    EXPECT_EQ(CallsOf(*api).others, 0);
}

TEST_F(ApiTest, TheSdkSeesItsOwnSymbolsBeforeTheHosts) {
    if (KX_SANITIZED) {
        GTEST_SKIP() << "sanitizers cannot live with it";
    }
    InstallSdk("sdk");
    EXPECT_EQ(CallsOf(*NewApi()).owner, 1);
}

TEST_P(SdkLacking, OneFunctionLeavesThatFieldAloneNull) {
    InstallSdk(std::string("sdk_without_") + GetParam());
    const kxtest::Api api = NewApi();
    EXPECT_THAT(Lacking(*api), testing::ElementsAre(GetParam()));
    EXPECT_EQ(CallsOf(*api).inits, api->kxe_bp_init != nullptr ? 1 : 0);
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Each, SdkLacking,
                         testing::Values("kxe_bp_init", "kxe_bp_other", "kxe_bp_trace",
                                         "kxe_bp_trace_unicode", "kxe_bp_trace_utf8",
                                         "kxe_bp_uninit"),
                         [](const auto& test) { return std::string(test.param); });

TEST_F(ApiTest, AFileThatIsNoLibraryIsAsIfItWereMissing) {
    kxtest::WriteFile("lib/libkxe_bpsdk.so",
                      "\x7f"
                      "ELF and no more");
    kxtest::WriteFile("lib/libnoxipc.so", "");
    const kxtest::Api api = NewApi();
    EXPECT_EQ(api->sdk_handle, nullptr);
    EXPECT_EQ(api->ipc_handle, nullptr);
    EXPECT_STREQ(api->host_id, "0000000000");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(ApiTest, APipeInPlaceOfALibraryIsNotWaitedFor) {
    fs::create_directory(kxtest::InstallationRoot() / "lib");
    for (const char* const library : {"lib/libkxe_bpsdk.so", "lib/libnoxipc.so"}) {
        ASSERT_EQ(mkfifo((kxtest::InstallationRoot() / library).c_str(), 0600), 0);
    }
    const kxtest::Api api = NewApi();
    EXPECT_EQ(api->sdk_handle, nullptr);
    EXPECT_EQ(api->ipc_handle, nullptr);
}

TEST_F(ApiTest, TheIdIsTheInstalledLibrarysInDecimal) {
    kxtest::Agent().nox_get_hostid = [] { return 99U; };  // the one that the module is linked with
    InstallNoxipc("noxipc_4294967295");
    EXPECT_STREQ(NewApi()->host_id, "4294967295");
}

TEST_F(ApiTest, AnUnknownIdLeavesTenZeros) {
    InstallNoxipc("noxipc_0");
    const kxtest::Api api = NewApi();
    EXPECT_NE(api->nox_get_hostid, nullptr);
    EXPECT_STREQ(api->host_id, "0000000000");
}

TEST_F(ApiTest, ABusLibraryWithoutTheFunctionLeavesTenZeros) {
    fs::create_directory(kxtest::InstallationRoot() / "lib");
    fs::copy_file(fs::path(KX_FAKE_LIBRARIES) / "sdk.so",
                  kxtest::InstallationRoot() / "lib/libnoxipc.so");
    const kxtest::Api api = NewApi();
    EXPECT_NE(api->ipc_handle, nullptr);
    EXPECT_EQ(api->nox_get_hostid, nullptr);
    EXPECT_STREQ(api->host_id, "0000000000");
}

TEST_F(ApiTest, TheIdIsThereWithoutAnSdk) {
    InstallNoxipc("noxipc_7");
    EXPECT_STREQ(NewApi()->host_id, "7");
}

TEST_F(ApiTest, TheVersionIsThatOfTheComponents) {
    EXPECT_EQ(VersionFrom(R"({"version": {"components": "6.0.1", "plus": "R2"}})"), "6.0.1");
}

TEST_F(ApiTest, AVersionOfFifteenBytesIsKeptWhole) {
    EXPECT_EQ(VersionFrom(R"({"version": {"components": "123456789012345"}})"), "123456789012345");
}

TEST_F(ApiTest, ALongerVersionIsCutAfterFifteenBytes) {
    EXPECT_EQ(VersionFrom(R"({"version": {"components": "12345678901234567890"}})"),
              "123456789012345");
}

TEST_F(ApiTest, AnEmptyVersionIsOne) {
    EXPECT_EQ(VersionFrom(R"({"version": {"components": ""}})"), "");
}

TEST_P(Rejected, ConfigurationLeavesTheVersion) {
    EXPECT_EQ(VersionFrom(GetParam()), "3.7.2.20");
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, Rejected,
    testing::Values("", "{", "null", "6", "\"6.0.1\"", "[]", "{}", R"({"components": "6"})",
                    R"({"version": "6"})", R"({"version": ["components"]})", R"({"version": {}})",
                    R"({"version": {"plus": "6"}})", R"({"version": {"components": 6}})",
                    R"({"version": {"components": null}})", R"({"version": {"components": ["6"]}})",
                    R"({"version": {"components": "a\u0000b"}})",
                    "{\"version\": {\"components\": \"\xFF\"}}",
                    R"({"version": {"components": "6"}} trailing)"));

TEST_F(ApiTest, AConfigurationThatCannotBeReadLeavesTheVersion) {
    fs::create_directories(kxtest::InstallationRoot() / "config/agent_cfg.json");
    EXPECT_STREQ(NewApi()->version, "3.7.2.20");
}

TEST_F(ApiTest, APipeInPlaceOfTheConfigurationIsNotWaitedFor) {
    fs::create_directory(kxtest::InstallationRoot() / "config");
    ASSERT_EQ(mkfifo((kxtest::InstallationRoot() / "config/agent_cfg.json").c_str(), 0600), 0);
    EXPECT_STREQ(NewApi()->version, "3.7.2.20");
}

TEST_F(ApiTest, TheConfigurationIsNotInheritedByChildProcesses) {
    descriptor_flags = 0;
    EXPECT_EQ(VersionFrom(R"({"version": {"components": "6.0.1"}})"), "6.0.1");
    EXPECT_EQ(descriptor_flags, FD_CLOEXEC);
}

TEST_F(ApiTest, LeavesNoDescriptorOpen) {
    InstallSdk("sdk");
    InstallNoxipc("noxipc_7");
    kxtest::WriteFile("config/agent_cfg.json", R"({"version": {"components": "6.0.1"}})");
    const std::size_t before = kxtest::OpenDescriptors();
    const kxtest::Api api = NewApi();
    EXPECT_EQ(kxtest::OpenDescriptors(), before);
}
