// The agent beside other programs that collect the same facts, all at once, each once in five
// seconds, on the loop-back interface: processor time of a collection with all that a program does
// between two of them and all processes that it starts, memory and threads. Each row's floor is the
// host with the module, measured in the same way.
//
//   bench_peers    from the bin directory of an installation, whose settings it writes and beside
//                  which prepare has put the others, in "peers"; about 80 seconds. Nothing is left
//                  running.
#include <unistd.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "agent.h"
#include "child.h"
#include "peer.h"
#include "process_tree.h"
#include "report.h"

namespace {

constexpr int kInterval = 5;  // seconds
constexpr int kRounds = 12;
constexpr int kRoundsBefore = 2;  // which do not count
constexpr char kOurName[] = "kxehost";

// Host and manager of the installation.
class Ours : public Peer {
  public:
    Ours() : agent_(kxbench::OwnInstallation(), kInterval, {}) {}

    std::string name() const override { return kOurName; }
    pid_t process() const override { return agent_.host(); }
    void Collect() override { (void)agent_.NextUpload(); }

  private:
    kxbench::Agent agent_;
};

// One sample a round.
struct Measured {
    std::vector<double> own;            // microseconds, of the processes that go on
    std::vector<double> with_children;  // microseconds, of those that ended as well
    std::vector<double> memory;         // kB
    std::vector<double> processes;
    std::vector<double> threads;
};

// What ended processes have used is told too coarsely for a single round, so each gets the mean.
void AddEnded(const TreeUse& before, const TreeUse& after, Measured& measured) {
    const double each = (after.ended - before.ended) / kRounds;
    for (const double own : measured.own) {
        measured.with_children.push_back(own + each);
    }
}

using Peers = std::vector<std::unique_ptr<Peer>>;

void Report(const std::string& name, const char* what, const char* unit,
            const std::vector<double>& samples, const std::vector<double>& ours) {
    kxbench::Row row{.name = name + ": " + what, .unit = unit, .samples = samples};
    if (name != kOurName) {
        row.floor = kOurName;
        row.floor_samples = ours;
    }
    kxbench::Report(row);
}

// Ours is the last: its upload, which is waited for, ends a round.
void CollectAll(const Peers& peers) {
    for (const auto& peer : peers) {
        peer->Collect();
    }
}

std::vector<TreeUse> ReadAll(const Peers& peers) {
    std::vector<TreeUse> uses;
    for (const auto& peer : peers) {
        uses.push_back(ReadTree(peer->process()));
    }
    return uses;
}

std::vector<Measured> Measure(const Peers& peers) {
    for (int round = 0; round < kRoundsBefore; ++round) {
        CollectAll(peers);
    }
    std::vector<Measured> measured(peers.size());
    const std::vector<TreeUse> first = ReadAll(peers);
    std::vector<TreeUse> before = first;
    for (int round = 0; round < kRounds; ++round) {
        CollectAll(peers);
        const std::vector<TreeUse> after = ReadAll(peers);
        for (std::size_t i = 0; i < peers.size(); ++i) {
            measured[i].own.push_back(after[i].processor_time - before[i].processor_time);
            measured[i].memory.push_back(after[i].memory);
            measured[i].processes.push_back(after[i].processes);
            measured[i].threads.push_back(after[i].threads);
        }
        before = after;
    }
    for (std::size_t i = 0; i < peers.size(); ++i) {
        AddEnded(first[i], before[i], measured[i]);
    }
    return measured;
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("peers", argc, argv);
    const Packages packages(kxbench::OwnInstallation() + "/peers");
    Peers peers;
    peers.push_back(StartCollectd(packages, kInterval));
    peers.push_back(StartNodeExporter(packages));
    peers.push_back(StartZabbixAgent(packages));
    peers.push_back(std::make_unique<Ours>());
    const std::vector<Measured> measured = Measure(peers);
    const Measured& ours = measured.back();
    for (std::size_t i = peers.size(); i-- > 0;) {
        const std::string name = peers[i]->name();
        Report(name, "processor time of a collection", "us", measured[i].with_children,
               ours.with_children);
        Report(name, "processor time of a collection, child processes aside", "us", measured[i].own,
               ours.own);
        Report(name, "proportional memory (PSS)", "kB", measured[i].memory, ours.memory);
        Report(name, "processes", "processes", measured[i].processes, ours.processes);
        Report(name, "threads", "threads", measured[i].threads, ours.threads);
    }
    return EXIT_SUCCESS;
}
