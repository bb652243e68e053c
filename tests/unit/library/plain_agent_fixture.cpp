#include "plain_agent_fixture.h"

#include <gmock/gmock.h>
#include <ifaddrs.h>
#include <net/if.h>

#include <filesystem>
#include <memory>
#include <vector>

#include "plain_agent/handles.h"
#include "plain_agent/journal.h"
#include "plain_agent/loop.h"
#include "plain_agent/message.h"
#include "plain_agent/trace_events.h"
#include "plain_agent/watch.h"

namespace fs = std::filesystem;

// Of the leak checker, where there is one: what the calling thread allocates in between is no leak.
extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

namespace {

constexpr unsigned kOnlineStateQuestion = 1008;
constexpr unsigned kConfigurationRequest = 1004;

// By a link: the bus that the SDK's bridge loads by its path is the one that is loaded already.
void PutIntoInstallation(const char* library) {
    const fs::path folder = kxtest::InstallationRoot() / "lib";
    fs::create_directories(folder);
    fs::create_symlink(library, folder / fs::path(library).filename());
}

}  // namespace

void PlainAgent::SetUp() {
    InstallationTest::SetUp();
    SetInterval(3600);
    kxtest::WriteFile("config/server.ini", "[config]\naddr=127.0.0.1\n");
    kxtest::WriteFile("config/agent_cfg.json", R"({"version":{"components":"1.2.3"}})");
    kxtest::WriteFile("config/cnapp", "");
    kxtest::WriteFile("var/connect.ini", "[connect]\nip=10.9.8.7\n");
    kxtest::WriteFile("bin/resmon_export.sh", "echo Plain Linux 1\n");
    PutIntoInstallation(KX_PLAIN_BPSDK);
    PutIntoInstallation(KX_PLAIN_NOXIPC);
    plain::ResetWatch();
    plain::ResetHandles();
    plain::ResetBus();
    plain::ResetJournal();
    plain::ResetTraceEvents();
    m_descriptors = OpenDescriptors();
}

void PlainAgent::TearDown() {
    EXPECT_THAT(plain::Breaches(), testing::IsEmpty());
    EXPECT_EQ(plain::HandlesOut(),
              std::vector<std::string>(static_cast<std::size_t>(starts), "address agt_cfgc"));
    EXPECT_EQ(OpenDescriptors(), m_descriptors);
}

void PlainAgent::Start() {
    ASSERT_EQ(module->init(), 0);
    ++starts;
    plain::WaitUntilIdle();
}

void PlainAgent::Stop() {
    EXPECT_EQ(module->uninit(), 0);
}

void PlainAgent::RunCycle() {
    plain::MakeTimerDue();
    plain::WaitUntilIdle();
}

void PlainAgent::RunCycleWithAddressRecord() {
    kxtest::WriteFile("config/server_port.ini", "");
    const auto on_worker = [](void (*function)()) {
        if (function != nullptr) {
            plain::Post(function);
            plain::WaitUntilIdle();
        }
    };
    on_worker(__lsan_disable);
    RunCycle();
    on_worker(__lsan_enable);
}

std::string PlainAgent::OnlineState() {
    const unsigned id = plain::Ask(kOnlineStateQuestion, "");
    plain::WaitUntilIdle();
    for (const plain::Response& response : plain::Responses()) {
        const auto entries = plain::Unpack(response.data);
        if (response.request_id == id && response.type == kOnlineStateQuestion && entries) {
            const auto state = entries->find("online_state");
            return state == entries->end() ? "no state" : std::string(state->second);
        }
    }
    return "no answer";
}

plain::Answer PlainAgent::TwoAddresses() {
    const std::string list = plain::Pack({{"ip0", "10.0.0.1"}, {"ip1", "10.0.0.2"}});
    return {.status = 0,
            .type = kConfigurationRequest,
            .data = plain::Pack({{"count", "2"}, {"multi_ip", list}})};
}

bool PlainAgent::HasIpv4Address() {
    ifaddrs* first = nullptr;
    if (getifaddrs(&first) != 0) {
        return false;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> entries(first, freeifaddrs);
    for (const ifaddrs* entry = first; entry != nullptr; entry = entry->ifa_next) {
        if ((entry->ifa_flags & IFF_UP) != 0 && (entry->ifa_flags & IFF_LOOPBACK) == 0 &&
            entry->ifa_addr != nullptr && entry->ifa_addr->sa_family == AF_INET) {
            return true;
        }
    }
    return false;
}
