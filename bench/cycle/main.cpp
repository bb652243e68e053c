// What a whole collection cycle costs in an agent that runs: host, bus and manager. The cycles come
// one soon after another; what one costs after idleness tells bench/idle. Beside it the program
// that does only what cannot be avoided, at the same time in the same installation.
//
//   bench_cycle    from the bin directory of an installation, whose settings it writes
#include <cstdlib>
#include <string>
#include <vector>

#include "agent.h"
#include "calls.h"
#include "child.h"
#include "cycle_report.h"
#include "lines.h"
#include "report.h"

namespace {

using kxbench::Content;
using kxbench::CycleCosts;

constexpr std::size_t kCycles = 11;
constexpr int kPeriodMs = 200;

const std::vector<CycleKind> kKinds = {{Content::kNothingElse, "warm, nothing changed: "},
                                       {Content::kAgentFacts, "warm, agent facts uploaded: "}};

// A host and the floor that run side by side.
class SideBySide {
  public:
    // `library` is preloaded into both.
    SideBySide(const std::string& installation, const std::string& library)
        : agent_(installation, 2,
                 kxbench::MeteredHost(installation, host_lines_, kPeriodMs, library)),
          floor_(installation + "/bin/bench_floor", {}, FloorEnvironment(library)) {
        agent_.Settle();
        for (int i = 0; i < agent_.uploads(); ++i) {
            (void)kxbench::NextCost(host_lines_);
        }
        (void)kxbench::NextCost(floor_lines_);  // from the process's beginning
    }

    void Run(Content content, CycleCosts& host, CycleCosts& floor) {
        while (floor_lines_.HasNext()) {  // since the last time
            (void)kxbench::NextCost(floor_lines_);
        }
        while (host.size() < kCycles) {
            agent_.Prepare(content);
            const bool is_counted = agent_.IsNextUpload(content);
            const kxbench::CycleCost of_host = kxbench::NextCost(host_lines_);
            const kxbench::CycleCost of_floor = kxbench::NextCost(floor_lines_);
            if (is_counted) {
                host.push_back(of_host);
                floor.push_back(of_floor);
            }
        }
    }

  private:
    std::vector<std::string> FloorEnvironment(const std::string& library) const {
        std::vector<std::string> environment = kxbench::MeteredFloor(floor_lines_, kPeriodMs);
        environment.push_back("LD_PRELOAD=" + library);
        return environment;
    }

    kxbench::Lines host_lines_;
    kxbench::Lines floor_lines_;
    kxbench::Agent agent_;
    kxbench::Child floor_;
};

void MeasureCosts(const std::string& installation) {
    SideBySide both(installation, "");
    for (const CycleKind& kind : kKinds) {
        CycleCosts host;
        CycleCosts floor;
        both.Run(kind.content, host, floor);
        kxbench::ReportCosts(kind.name, host, floor);
    }
}

void MeasureAllocations(const std::string& installation) {
    SideBySide both(installation, installation + "/bin/libbench_count_allocations.so");
    for (const CycleKind& kind : kKinds) {
        CycleCosts host;
        CycleCosts floor;
        both.Run(kind.content, host, floor);
        kxbench::ReportAllocations(kind.name, host, floor);
    }
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("cycle", argc, argv);
    const std::string installation = kxbench::OwnInstallation();
    MeasureCosts(installation);
    MeasureAllocations(installation);
    MeasureCalls(installation, kKinds);
    return EXIT_SUCCESS;
}
