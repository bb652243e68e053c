// The files of the installation that the module and the agent's libraries read or write, each with
// something else in its place.
#include <memory>
#include <ostream>
#include <vector>

#include "agent_under_attack.h"
#include "shapes.h"

namespace kxtest {
namespace {

// What has to begin anew for a file to be read again.
enum class When { kCycle, kModule, kHost };

struct File {
    const char* path;
    When read;
};

void PrintTo(const File& file, std::ostream* out) {
    *out << file.path;
}

constexpr File kFiles[] = {
    {"config/kxepinfocfg.ini", When::kModule},
    {"config/server.ini", When::kCycle},
    {"config/machineid", When::kCycle},
    {"config/agent_cfg.json", When::kCycle},
    {"config/server_port.ini", When::kHost},
    {"config/net_config.ini", When::kModule},
    {"config/ipc.ini", When::kModule},
    {"config/agent_id", When::kHost},
    {"config/agent_id.lock", When::kHost},
    {"config/recalculate_agentid", When::kCycle},
    {"config/log/agent/kxepinfo/agent/log.ini", When::kCycle},
    {"var/connect.ini", When::kCycle},
    {"var/log/agent/kxepinfo/kxepinfo.log", When::kCycle},
    {"var/run/lock/Global%5C%7BC9580F9C-A601-4300-879D-F54133492687%7D.lock", When::kModule},
    {"var/trace/events.jsonl", When::kHost},
    {"bin/autotest_kxepinfo.proto", When::kCycle},
    {"lib/libkxe_bpsdk.so", When::kHost},
};

constexpr std::size_t kMostGrowthKib = 16 * 1024;

class InstalledFile : public AgentUnderAttack, public testing::WithParamInterface<File> {
  protected:
    void SetUp() override {
        RespectModes();
        installation().write("config/cnapp", "");
        installation().write("bin/kxepinfo_flag.txt", "");
        StartAgent();
    }

    // Addresses that are new are told to the tracing SDK, which is loaded for that.
    void ForgetAddresses() const {
        constexpr char kAddresses[] = "config/server_port.ini";
        if (std::string_view(GetParam().path) != kAddresses) {
            installation().write(kAddresses, "");
        }
    }

    void Reread(When when) {
        switch (when) {
            case When::kCycle:
                Step();
                break;
            case When::kModule:
                RestartModule();
                break;
            case When::kHost:
                ForgetAddresses();
                RestartHost();
                break;
        }
    }
};

TEST_P(InstalledFile, MayBeAnything) {
    Place place(installation().path(GetParam().path));
    for (const Shape shape : kAllShapes) {
        SCOPED_TRACE(NameOf(shape));
        std::fprintf(stderr, "%ld %s\n", time(nullptr), NameOf(shape).data());
        place.Take(shape);
        Reread(GetParam().read);
        Step();
        place.Restore();
        if (GetParam().read != When::kCycle) {
            Reread(GetParam().read);
        }
        CheckCalm();
        if (HasFailure()) {
            break;
        }
    }
    StopHost();
}

std::string NameOfFile(const testing::TestParamInfo<File>& file) {
    std::string name = std::filesystem::path(file.param.path).filename();
    for (char& c : name) {
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Each, InstalledFile, testing::ValuesIn(kFiles), NameOfFile);

}  // namespace
}  // namespace kxtest
