// What a cycle does with the adapters when nothing has changed, up to the encoded upload, beside
// the same requests without any of it; each step that needs no requests, beside itself with fewer
// adapters, where a ratio near 1 is linear growth; and the memory that is held at the end.
#include <malloc.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "bare_walk.h"
#include "child.h"
#include "collectors/netinfo.h"
#include "common/records.h"
#include "growth.h"
#include "msghandler/msgprotobuf.h"
#include "network.h"
#include "processor_time.h"
#include "report.h"

namespace {

using Adapters = std::vector<_stAdapterInfo>;

constexpr std::size_t kReferenceCount = 100;
constexpr std::size_t kLargestCount = 5000;
constexpr std::size_t kCounts[] = {2, kReferenceCount, 1000, kLargestCount};
constexpr int kRounds = 7;
constexpr int kRoundsOfStep = 99;
constexpr double kTarget = 1.5;

void Require(bool done, const char* what) {
    if (!done) {
        kxbench::Fail(std::string("adapters: not done: ") + what);
    }
}

Adapters Collect() {
    Adapters adapters;
    Require(GetNetInfo(adapters) == 0, "collecting");
    return adapters;
}

std::size_t CountIpv4(const Adapters& adapters) {
    std::size_t count = 0;
    for (const _stAdapterInfo& adapter : adapters) {
        count += adapter.if_ipv4.size();
    }
    return count;
}

// The address that links to the manager is the one that is found last.
void LinkOver(const std::string& address) {
    std::ofstream file(std::filesystem::path(kxbench::OwnInstallation()) / "var/connect.ini");
    Require(bool((file << "[connect]\nip=" << address << "\n").flush()), "the connect address");
}

void Compare(Adapters& previous, Adapters& current) {
    Require(!IsNetInfoChanged(previous, current), "comparing");
}

void RecordKnown(const Adapters& adapters) {
    std::set<std::string> added;
    RecordIpv4Addresses(adapters, added);
    Require(added.empty(), "recording");
}

std::string Encode(CMsgProtobuf& serializer, _stAgentInfo& agent) {
    std::string bytes;
    Require(serializer.AddDataToSerialize(&agent, AGT_MGR_SYS) == 0 &&
                serializer.DoMsgSerialize(bytes) == 0,
            "encoding");
    return bytes;
}

// Bytes that are allocated.
double HeldMemory() {
    const struct mallinfo2 held = mallinfo2();
    return static_cast<double>(held.uordblks + held.hblkhd);
}

// As in a cycle whose facts are uploaded although they are the same. Calls `when_all_is_there`
// while there are both lists, the message and its encoding.
template <class Call>
void RunSteps(Adapters& previous, Call when_all_is_there) {
    _stAgentInfo agent;
    agent.adapters = Collect();
    Compare(previous, agent.adapters);
    RecordKnown(agent.adapters);
    CMsgProtobuf serializer;
    const std::string bytes = Encode(serializer, agent);
    when_all_is_there();
    previous = std::move(agent.adapters);
}

std::string Name(Layout layout, std::size_t count) {
    return std::to_string(count) +
           (layout == Layout::kInterfaces ? " interfaces" : " addresses on one interface");
}

int CallsARound(std::size_t count) {
    return static_cast<int>(std::max<std::size_t>(1, 500 / count));
}

// In one network. Returns its adapters as they are collected, and the bytes of memory that a cycle
// holds for each address.
std::pair<Adapters, double> MeasureWhole(Layout layout, std::size_t count) {
    const Network network(layout, count);
    LinkOver(network.last_address());
    const double held_before = HeldMemory();
    Adapters previous = Collect();
    Require(
        CountIpv4(previous) == count && previous.front().if_ipv4.front() == network.last_address(),
        "finding all addresses");
    std::set<std::string> added;
    RecordIpv4Addresses(previous, added);
    double held = 0;
    RunSteps(previous, [&] { held = HeldMemory() - held_before; });

    const kxbench::Compared time = kxbench::CompareProcessorTime(
        [&] { RunSteps(previous, [] {}); }, WalkBarely, kRounds, CallsARound(count));
    kxbench::Report({.name = Name(layout, count) + ": collect, compare, record, encode",
                     .unit = "us",
                     .samples = time.work,
                     .floor = "the same requests barely",
                     .floor_samples = time.reference,
                     .target = count == kLargestCount ? std::optional(kTarget) : std::nullopt});
    return {Collect(), held / static_cast<double>(count)};
}

// A list of adapters, twice: as the comparison of the cycle before has left it, and as of now.
struct Lists {
    Adapters previous;
    _stAgentInfo current;
};

Lists ListsOf(const Adapters& adapters) {
    Lists lists;
    lists.previous = adapters;
    lists.current.adapters = adapters;
    Adapters sorted = adapters;
    Compare(lists.previous, sorted);
    return lists;
}

void CompareLists(Lists& lists) {
    Compare(lists.previous, lists.current.adapters);
}

void EncodeList(Lists& lists) {
    CMsgProtobuf serializer;
    (void)Encode(serializer, lists.current);
}

// Microseconds of processor time for all of that many copies, whose making does not count.
double MeasureOnce(void (*step)(Lists&), const Lists& lists, std::size_t copies) {
    std::vector<Lists> all(copies, lists);
    const double before = kxbench::OwnProcessorTime();
    for (Lists& one : all) {
        step(one);
    }
    return kxbench::OwnProcessorTime() - before;
}

// With `count` adapters or addresses, and as often with few as comes to the same number.
void MeasureStep(const std::string& name, void (*step)(Lists&), const Adapters& adapters,
                 const Adapters& few, std::size_t count) {
    const Lists lists = ListsOf(adapters);
    const Lists short_lists = ListsOf(few);
    const std::size_t times = count / kReferenceCount;
    kxbench::Row row{
        .name = name,
        .unit = "us",
        .samples = {},
        .floor = std::to_string(times) + " times that with " + std::to_string(kReferenceCount),
        .target = kTarget};
    for (int round = 0; round < kRoundsOfStep; ++round) {
        row.samples.push_back(MeasureOnce(step, lists, 1));
        row.floor_samples.push_back(MeasureOnce(step, short_lists, times));
    }
    kxbench::Report(row);
}

void MeasureLayout(Layout layout) {
    std::map<std::size_t, std::pair<Adapters, double>> measured;
    for (const std::size_t count : kCounts) {
        measured[count] = MeasureWhole(layout, count);
    }
    const auto& [few, held_by_few] = measured.at(kReferenceCount);
    for (const auto& [count, measurement] : measured) {
        if (count <= kReferenceCount) {
            continue;
        }
        const auto& [adapters, held] = measurement;
        const std::string name = Name(layout, count);
        MeasureStep(name + ": compare", CompareLists, adapters, few, count);
        MeasureStep(name + ": encode", EncodeList, adapters, few, count);
        kxbench::Report({.name = name + ": memory of a cycle, for each",
                         .unit = "bytes",
                         .samples = {held},
                         .floor = "with " + std::to_string(kReferenceCount),
                         .floor_samples = {held_by_few},
                         .target = kTarget});
    }
}

}  // namespace

void MeasureAdapters() {
    MeasureLayout(Layout::kAddresses);
    MeasureLayout(Layout::kInterfaces);
}
