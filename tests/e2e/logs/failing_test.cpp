// What a cycle leaves in the log, at the level that an installation has, when everything goes wrong
// in every cycle. docs/operations.md tells operators these figures.
#include <cstdio>

#include "quiet_machine.h"

namespace kxtest {
namespace {

constexpr std::size_t kWarmUp = 6;  // cycles; five failures make the agent offline
constexpr std::size_t kCycles = 20;

struct Case {
    const char* name;
    const char* fault;      // of the manager; null: there is none
    bool bare;              // no configuration, no script and no login to be read
    const char* last_line;  // of a cycle in this failure; null: nothing is logged
    std::size_t most_lines;
    std::size_t most_bytes;
};

std::ostream& operator<<(std::ostream& out, const Case& failing) {
    return out << failing.name;
}

constexpr char kUnreachable[] = "send msg to mgr failed with error msg: ";
constexpr char kRefused[] = "send msg <type: ";
constexpr char kRubbish[] = "parse kxepinfo response msg from mgr fail";

// For two interfaces that are up and an installation in /opt/agent: a longer path stands in five
// lines. A failed upload makes the module forget, so that the next cycle finds changes again and
// says so.
const Case kCases[] = {
    {"works", "ok", false, nullptr, 1, 110},
    {"works_bare", "ok", true, nullptr, 4, 600},
    {"no_manager", nullptr, false, kUnreachable, 9, 1050},
    {"no_manager_bare", nullptr, true, kUnreachable, 10, 1300},
    {"refused", "refuse", false, kRefused, 9, 1100},
    {"refused_bare", "refuse", true, kRefused, 10, 1350},
    {"rubbish_bare", "garbage", true, kRubbish, 11, 1450},
};

class Failing : public QuietMachineTest, public testing::WithParamInterface<Case> {
  protected:
    void SetUp() override {
        QuietMachineTest::SetUp();
        if (IsSkipped()) {
            return;
        }
        installation().set_log_level(3);
        if (GetParam().bare) {
            MakeBare();
        }
        if (WithManager()) {
            const std::string fault = GetParam().fault;
            StartManager(fault == "ok" ? std::vector<std::string>{}
                                       : std::vector{std::string("--fault"), fault + ":1000"});
        }
    }

    static bool WithManager() { return GetParam().fault != nullptr; }

    void MakeBare() const {
        for (const char* const file :
             {"config/server.ini", "config/agent_cfg.json", "config/kxepinfocfg.ini",
              "config/server_port.ini", "var/connect.ini", "bin/resmon_export.sh"}) {
            std::filesystem::remove(installation().path(file));
        }
        std::filesystem::remove("/var/log/wtmp");
    }

    // Returns when all has been logged that this many cycles have to tell.
    void RunCycles(std::size_t so_far, std::size_t count) {
        for (std::size_t cycle = so_far; cycle < so_far + count; ++cycle) {
            if (cycle > 0) {
                StepToNextCycle();
            }
            if (WithManager()) {
                ASSERT_NE(Upload(cycle), nullptr);
            }
            if (const char* const last_line = GetParam().last_line) {
                ASSERT_TRUE(WaitUntil([&] {
                    return CountOf(installation().log(), last_line) == cycle + 1;
                })) << installation().log();
            }
        }
        ASSERT_NE(Ctl({"online"}).output, "");  // answered behind what the worker is doing
    }
    // As it were in an installation with a short path.
    std::string Log() const {
        std::string log = installation().log();
        const std::string root = installation().root();
        for (std::size_t at = 0; (at = log.find(root, at)) != std::string::npos;) {
            log.replace(at, root.size(), "/opt/agent");
        }
        return log;
    }
};

}  // namespace

TEST_P(Failing, ACycleLeavesFewLines) {
    const Program& host = StartSteppedHost();
    RunCycles(0, kWarmUp);
    const std::string before = Log();
    const std::string errors_before = host.errors();
    RunCycles(kWarmUp, kCycles);
    const std::string added = Log().substr(before.size());
    const std::size_t lines = CountOf(added, "\n") / kCycles;
    const std::size_t bytes = added.size() / kCycles;
    std::printf("%s: %zu lines, %zu bytes a cycle\n", GetParam().name, lines, bytes);
    EXPECT_LE(lines, GetParam().most_lines) << added.substr(added.size() * 19 / 20);
    EXPECT_LE(bytes, GetParam().most_bytes);
    // The shell says that it misses the script; what it says is the host's to keep.
    const std::size_t on_standard_error = CountOf(host.errors().substr(errors_before.size()), "\n");
    EXPECT_EQ(on_standard_error, GetParam().bare ? kCycles : 0U);
}

INSTANTIATE_TEST_SUITE_P(Faults, Failing, testing::ValuesIn(kCases),
                         [](const auto& tested) { return std::string(tested.param.name); });

}  // namespace kxtest
