// The files of the installation that the module and the agent's libraries read or write, each with
// something else in its place.
#include <csignal>
#include <deque>
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
    {"config/recalculate_agentid", When::kCycle},
    {"config/log/agent/kxepinfo/agent/log.ini", When::kCycle},
    {"var/connect.ini", When::kCycle},
    {"var/log/agent/kxepinfo/kxepinfo.log", When::kCycle},
    {"var/run/lock/Global%5C%7BC9580F9C-A601-4300-879D-F54133492687%7D.lock", When::kModule},
    {"var/trace/events.jsonl", When::kHost},
    {"bin/autotest_kxepinfo.proto", When::kCycle},
    {"lib/libkxe_bpsdk.so", When::kHost},
};

// A file of which 4 MiB are read while its text grows.
constexpr std::size_t kMostGrowthKib = 16 * 1024 + kSanitizersKib;

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

// A bus name that cannot be taken ends the worker, and the host waits for the next start.
constexpr File kNameFiles[] = {
    {"var/run/ipc/agt_ei.lock", When::kModule},
    {"var/run/ipc/agt_ei.sock", When::kModule},
};

class FileOfABusName : public InstalledFile {};

TEST_P(FileOfABusName, MayBeAnything) {
    Place place(installation().path(GetParam().path));
    for (const Shape shape : kAllShapes) {
        SCOPED_TRACE(NameOf(shape));
        if (shape == Shape::kChanging) {
            continue;
        }
        place.Take(shape);
        host().signal(SIGHUP);
        EXPECT_FALSE(WaitUntil([&] { return !host().running(); }, std::chrono::milliseconds(200)));
        StopHost();
        place.Restore();
        StartHostAgain();
        CheckCalm();
    }
}

class AllFiles : public AgentUnderAttack {
  protected:
    void SetUp() override {
        RespectModes();
        installation().set_log_level(3);
        StartAgent();
        for (const File& file : kFiles) {
            const std::string_view path = file.path;
            if (!path.ends_with(".log") && !path.ends_with("log.ini")) {
                m_places.emplace_back(installation().path(path));
            }
        }
    }

    void Take(Shape shape) {
        for (Place& place : m_places) {
            place.Take(shape);
        }
    }
    void Restore() {
        for (Place& place : m_places) {
            place.Restore();
        }
    }
    std::size_t LogLines() const { return CountOf(installation().log(), "\n"); }

  private:
    std::deque<Place> m_places;
};

TEST_F(AllFiles, MayBeAnythingAtOnce) {
    constexpr std::size_t kMostLines = 40;  // of a start and two cycles
    for (const Shape shape : kAllShapes) {
        SCOPED_TRACE(NameOf(shape));
        const std::size_t lines = LogLines();
        Take(shape);
        ForgetPeak(host().pid());
        const Held before = HeldBy(host().pid());
        RestartModule();
        Step();
        EXPECT_LE(HeldBy(host().pid()).peak_kib, before.resident_kib + kMostGrowthKib);
        if (shape != Shape::kChanging) {
            EXPECT_LE(LogLines() - lines, kMostLines);
        }
        StepToNextCycle();
        RestartHost();  // in the middle of a cycle
        Restore();
        RestartHost();
        CheckCalm();
        if (HasFailure()) {
            break;
        }
    }
}

std::string NameOfFile(const testing::TestParamInfo<File>& file) {
    std::string name = std::filesystem::path(file.param.path).filename();
    for (char& c : name) {
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 ? c : '_';
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P(Each, FileOfABusName, testing::ValuesIn(kNameFiles), NameOfFile);
INSTANTIATE_TEST_SUITE_P(Each, InstalledFile, testing::ValuesIn(kFiles), NameOfFile);

}  // namespace
}  // namespace kxtest
