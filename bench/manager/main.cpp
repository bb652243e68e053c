// The manager as a server: agents upload, each again as soon as it was answered, and every upload
// is in an SQLite file, on disk, before its answer. How many it keeps, and how long an answer
// takes. Beside it as many bare transactions as there are agents, since that many uploads wait at a
// time; its processor time an upload, and its memory.
//
//   bench_manager    from the bin directory of an installation
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "bare_database.h"
#include "child.h"
#include "load.h"
#include "memory_use.h"
#include "processor_time.h"
#include "report.h"
#include "upload.h"
#include "watched.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned kAgents[] = {1, 10, 200};
constexpr int kRounds = 7;
constexpr std::chrono::milliseconds kRoundTime(1000);
constexpr std::pair<double, const char*> kParts[] = {
    {0.5, "50th"}, {0.99, "99th"}, {0.999, "99.9th"}};

// One sample a round.
struct Figures {
    std::vector<double> rate;                            // a second
    std::vector<double> percentiles[std::size(kParts)];  // microseconds
    std::vector<double> processor_time;                  // microseconds an upload
};

// The slowest, when there are too few for that part.
double Percentile(const std::vector<double>& sorted, double part) {
    const double rank = std::ceil(part * static_cast<double>(sorted.size()));
    return sorted[static_cast<std::size_t>(std::max(rank, 1.0)) - 1];
}

// Of a round that began then and in which so many uploads were kept; `times` are of single answers.
void AddRound(Clock::time_point begin, std::size_t uploads, std::vector<double> times,
              Figures& figures) {
    const std::chrono::duration<double> taken = Clock::now() - begin;
    figures.rate.push_back(static_cast<double>(uploads) / taken.count());
    std::sort(times.begin(), times.end());
    for (std::size_t i = 0; i < std::size(kParts); ++i) {
        figures.percentiles[i].push_back(Percentile(times, kParts[i].first));
    }
}

// That many transactions take as long as an answer.
void RunBarely(BareDatabase& database, unsigned agents, Figures& figures) {
    std::vector<double> times;
    const double used = kxbench::OwnProcessorTime();
    const Clock::time_point begin = Clock::now();
    while (Clock::now() < begin + kRoundTime) {
        const Clock::time_point sent = Clock::now();
        for (unsigned agent = 1; agent <= agents; ++agent) {
            database.Keep(MakeUpload(agent, 1));
        }
        const std::chrono::duration<double, std::micro> time = Clock::now() - sent;
        times.push_back(time.count());
    }
    const std::size_t uploads = times.size() * agents;
    AddRound(begin, uploads, times, figures);
    figures.processor_time.push_back((kxbench::OwnProcessorTime() - used) /
                                     static_cast<double>(uploads));
}

void Report(const std::string& name, const Figures& manager, const Figures& bare, unsigned agents) {
    const std::string floor =
        agents == 1 ? "a bare transaction" : std::to_string(agents) + " bare transactions";
    kxbench::Report({.name = name + "uploads kept",
                     .unit = "1/s",
                     .samples = manager.rate,
                     .floor = "bare transactions",
                     .floor_samples = bare.rate});
    for (std::size_t i = 0; i < std::size(kParts); ++i) {
        kxbench::Report({.name = name + "time of an answer, " + kParts[i].second + " percentile",
                         .unit = "us",
                         .samples = manager.percentiles[i],
                         .floor = floor,
                         .floor_samples = bare.percentiles[i]});
    }
    kxbench::Report({.name = name + "processor time of the manager for an upload",
                     .unit = "us",
                     .samples = manager.processor_time,
                     .floor = "a bare transaction",
                     .floor_samples = bare.processor_time});
}

void Measure(const std::string& installation, unsigned agents) {
    const std::string file = installation + "/var/uploads-" + std::to_string(agents) + ".db";
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    const kxbench::Child manager(installation + "/bin/kxemgr", {"--db", file}, {}, nowhere);
    (void)close(nowhere);
    const Watched watched(manager.pid());
    Load load(agents);
    BareDatabase bare(installation + "/var/bare.db");
    Figures of_manager;
    Figures of_bare;
    (void)load.Run(kRoundTime);  // warms up
    for (int round = 0; round < kRounds; ++round) {
        const double used = watched.Read().cpu_seconds;
        const Clock::time_point begin = Clock::now();
        const std::vector<double> times = load.Run(kRoundTime);
        AddRound(begin, times.size(), times, of_manager);
        of_manager.processor_time.push_back((watched.Read().cpu_seconds - used) * 1e6 /
                                            static_cast<double>(times.size()));
        RunBarely(bare, agents, of_bare);
    }
    const std::string name = std::to_string(agents) + (agents == 1 ? " agent: " : " agents: ");
    Report(name, of_manager, of_bare, agents);
    kxbench::Report({.name = name + "proportional memory (PSS) of the manager",
                     .unit = "kB",
                     .samples = {ReadMemoryUse(manager.pid()).proportional}});
}

// Each agent takes several descriptors.
void AllowAllDescriptors() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        (void)setrlimit(RLIMIT_NOFILE, &limit);
    }
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("manager", argc, argv);
    AllowAllDescriptors();
    for (const unsigned agents : kAgents) {
        Measure(kxbench::OwnInstallation(), agents);
    }
    return EXIT_SUCCESS;
}
