// How the time that adapters cost grows with their number: filling the list, comparing it with the
// one of the cycle before when nothing has changed, and keeping the record of IPv4 addresses, once
// when all are known and once when all are new. For both extremes: an adapter for each address, and
// one that has them all. Processor time an address, compared with that at 100 addresses: a ratio
// near 1 is linear growth; few addresses carry what a call costs in any case.
//
//   bench_adapters    from the bin directory of an installation, whose files it writes
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "child.h"
#include "collectors/netinfo.h"
#include "laid_out_network.h"
#include "processor_time.h"
#include "report.h"

namespace fs = std::filesystem;

namespace {

using Adapters = std::vector<_stAdapterInfo>;

constexpr std::size_t kReferenceCount = 100;
constexpr std::size_t kCounts[] = {2, kReferenceCount, 1000, 5000};
constexpr int kRounds = 11;
constexpr std::size_t kAddressesARound = 20000;
constexpr std::size_t kSavesARound = 40;  // of the record's file, far dearer than the rest

// Nanoseconds an address, by what was measured.
using Figures = std::map<std::string, double>;

Adapters Fill() {
    Adapters adapters;
    if (GetNetInfo(adapters) != 0 || adapters.empty() ||
        adapters.front().if_ipv4.front() != LastAddress()) {
        kxbench::Fail("the adapters were not listed");
    }
    return adapters;
}

// The address that links to the manager is the one that is found last.
void LinkOverLastAddress() {
    std::ofstream file(fs::path(kxbench::OwnInstallation()) / "var/connect.ini", std::ios::trunc);
    if (!(file << "[connect]\nip=" << LastAddress() << "\n").flush()) {
        kxbench::Fail("cannot write the file of the connect address");
    }
}

// Microseconds a call. A round is `calls` calls, each given its number; what `prepare` does before
// it does not count.
double MedianProcessorTime(const std::function<void()>& prepare,
                           const std::function<void(std::size_t)>& work, std::size_t calls) {
    std::vector<double> samples;
    for (int round = 0; round <= kRounds; ++round) {
        prepare();
        const double before = kxbench::ProcessorTime();
        for (std::size_t call = 0; call < calls; ++call) {
            work(call);
        }
        if (round > 0) {  // the first warms up
            samples.push_back((kxbench::ProcessorTime() - before) / static_cast<double>(calls));
        }
    }
    return kxbench::Median(samples);
}

// The current list as it was filled; the previous one as the comparison of the cycle before has
// left it.
double Comparing(const Adapters& adapters, std::size_t calls) {
    Adapters previous = adapters;
    Adapters sorted = adapters;
    (void)IsNetInfoChanged(previous, sorted);
    std::vector<Adapters> current;
    return MedianProcessorTime([&] { current.assign(calls, adapters); },
                               [&](std::size_t call) {
                                   if (IsNetInfoChanged(previous, current[call])) {
                                       kxbench::Fail("equal adapters differ");
                                   }
                               },
                               calls);
}

// The lists, of which a round uses each equally often, take turns; each call finds `news` new
// addresses.
double Recording(const std::vector<Adapters>& lists, std::size_t news, std::size_t calls) {
    std::set<std::string> added;
    return MedianProcessorTime([] {},
                               [&](std::size_t call) {
                                   RecordIpv4Addresses(lists[call % lists.size()], added);
                                   if (added.size() != news) {
                                       kxbench::Fail("other addresses are new than should be");
                                   }
                               },
                               calls);
}

// Whatever was recorded before, these alone are from now on, in memory and in the file.
void RecordAlone(const Adapters& adapters, const Adapters& others) {
    std::set<std::string> added;
    RecordIpv4Addresses(others, added);
    RecordIpv4Addresses(adapters, added);
}

Figures Measure(Layout layout, std::size_t count) {
    const std::size_t calls = kAddressesARound / count;
    const std::size_t saves = std::min(calls, kSavesARound);
    LayOutNetwork(layout, count, 1);
    LinkOverLastAddress();
    const Adapters others = Fill();
    LayOutNetwork(layout, count);
    LinkOverLastAddress();
    const Adapters adapters = Fill();
    RecordAlone(adapters, others);
    Figures figures;
    figures["filling"] = MedianProcessorTime([] {}, [](std::size_t) { (void)Fill(); }, calls);
    figures["comparing"] = Comparing(adapters, calls);
    figures["recording, all known"] = Recording({adapters}, 0, calls);
    figures["recording, all new"] = Recording({others, adapters}, count, saves);
    for (auto& [what, figure] : figures) {
        figure *= 1000.0 / static_cast<double>(count);
    }
    return figures;
}

std::string Name(std::size_t count) {
    return std::to_string(count) + " addresses";
}

void MeasureLayout(Layout layout, const std::string& name) {
    std::map<std::size_t, Figures> measured;
    for (const std::size_t count : kCounts) {
        measured[count] = Measure(layout, count);
    }
    for (const auto& [what, reference] : measured.at(kReferenceCount)) {
        for (const auto& [count, figures] : measured) {
            if (count != kReferenceCount) {
                kxbench::Report(name + ", " + what + ": " + Name(count), figures.at(what),
                                "ns/address", Name(kReferenceCount), reference);
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("adapters", argc, argv);
    MeasureLayout(Layout::kOneAdapterEach, "adapters, one for each address");
    MeasureLayout(Layout::kOneAdapter, "adapters, one for all addresses");
    return EXIT_SUCCESS;
}
