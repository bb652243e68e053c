// Encoding an upload with the resource record, as a collection cycle does it: make the serializer,
// add the record, get the bytes. Beside it what the same message costs without the serializer, its
// log checks and the agent's id. Nanoseconds and allocations an upload.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "allocations.h"
#include "common/records.h"
#include "msghandler/msgprotobuf.h"
#include "report.h"

namespace {

constexpr int kRounds = 9;
constexpr char kFloor[] = "copying and serializing the message";

_stResmon Record() {
    _stResmon record;
    record.cpu_usage = 1234;
    record.mem_total = 16384000;
    record.mem_used = 8192000;
    return record;
}

void CountAllocations(benchmark::State& state, long before) {
    state.counters["allocations"] = benchmark::Counter(static_cast<double>(Allocations() - before),
                                                       benchmark::Counter::kAvgIterations);
}

void Serializer(benchmark::State& state) {
    _stResmon record = Record();
    const long before = Allocations();
    for ([[maybe_unused]] const auto round : state) {
        CMsgProtobuf serializer;
        std::string bytes;
        if (serializer.AddDataToSerialize(&record, AGT_MGR_RC) != 0 ||
            serializer.DoMsgSerialize(bytes) != 0) {
            state.SkipWithError("the upload was not encoded");
        }
        benchmark::DoNotOptimize(bytes.data());
    }
    CountAllocations(state, before);
}

void Message(benchmark::State& state) {
    std::string encoded;
    _stResmon record = Record();
    CMsgProtobuf serializer;
    bf_kxepinfo::epinfo upload;
    if (serializer.AddDataToSerialize(&record, AGT_MGR_RC) != 0 ||
        serializer.DoMsgSerialize(encoded) != 0 || !upload.ParseFromString(encoded)) {
        state.SkipWithError("the upload was not encoded");
    }
    const long before = Allocations();
    for ([[maybe_unused]] const auto round : state) {
        bf_kxepinfo::epinfo copy;
        copy.CopyFrom(upload);
        std::string bytes;
        benchmark::DoNotOptimize(copy.SerializeToString(&bytes));
        benchmark::DoNotOptimize(bytes.data());
    }
    CountAllocations(state, before);
}

BENCHMARK(Serializer)->Repetitions(kRounds)->MinTime(0.1);
BENCHMARK(Message)->Repetitions(kRounds)->MinTime(0.1);

// Keeps the figures of every repetition for the table; prints nothing itself.
class Collector : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context& /*context*/) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.error_occurred) {
                kxbench::Fail(run.error_message);
            }
            if (run.run_type == Run::RT_Iteration) {
                nanoseconds[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
                allocated[run.run_name.function_name].push_back(run.counters.at("allocations"));
            }
        }
    }

    std::map<std::string, std::vector<double>> nanoseconds;
    std::map<std::string, std::vector<double>> allocated;
};

}  // namespace

int main(int argc, char** argv) {
    (void)kxbench::BeginReport("encode", argc, argv);
    int count = 1;
    benchmark::Initialize(&count, argv);
    Collector collector;
    (void)benchmark::RunSpecifiedBenchmarks(&collector);
    kxbench::Report({.name = "encoding an upload: time",
                     .unit = "ns",
                     .samples = collector.nanoseconds["Serializer"],
                     .floor = kFloor,
                     .floor_samples = collector.nanoseconds["Message"]});
    kxbench::Report({.name = "encoding an upload: allocations",
                     .unit = "allocations",
                     .samples = collector.allocated["Serializer"],
                     .floor = kFloor,
                     .floor_samples = collector.allocated["Message"]});
    return EXIT_SUCCESS;
}
