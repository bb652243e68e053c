#include "collectors/agentres.h"

#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>

#include "collectors/agentres_parse.h"
#include "collectors/procfile.h"
#include "common/log.h"

namespace {

constexpr char kLogTag[] = "agentres";

// Kernels print about 60. What lies in the file's place may be endless.
constexpr int kMostMemoryLines = 1024;

MemoryFigures ReadMemoryFigures(std::FILE* file) {
    MemoryFigures figures;
    char line[kLineSize] = {};
    for (int i = 0; i < kMostMemoryLines && std::fgets(line, sizeof line, file) != nullptr; ++i) {
        for (const MemoryField& field : kMemoryFields) {
            if (ParseMemoryLine(line, field, figures)) {
                EP_LOG(kLogDebug, "%s = %llu", field.label, figures.*field.figure);
            }
        }
    }
    return figures;
}

}  // namespace

void get_cpu_stat(uint64_t& utilised, uint64_t& total) {
    utilised = 0;
    total = 0;
    const File file = OpenForReading("/proc/stat");
    if (file == nullptr) {
        const int error = errno;
        EP_LOG(kLogError, "Failed to popen file /proc/stat, errno = %d\n", error);
        return;
    }
    char line[kLineSize] = {};
    if (std::fgets(line, sizeof line, file.get()) != nullptr) {
        const CpuTimes times = ParseCpuLine(line);
        utilised = times.utilised;
        total = times.total;
    }
}

void get_cpu_used(uint32_t& usage) {
    usage = 0;
    CpuTimes first;
    CpuTimes second;
    get_cpu_stat(first.utilised, first.total);
    (void)sleep(1);
    get_cpu_stat(second.utilised, second.total);
    if (!ComputeCpuUsage(first, second, usage)) {
        EP_LOG(kLogError,
               "Numerical verification utilized1: %" PRIu64 ", total1: %" PRIu64
               ", utilized2: %" PRIu64 ", total2: %" PRIu64,
               first.utilised, first.total, second.utilised, second.total);
    }
    EP_LOG(kLogDebug, "cpu_used: %u", usage);
}

void get_mem_used(uint32_t& used, uint32_t& total) {
    used = 0;
    total = 0;
    const File file = OpenForReading("/proc/meminfo");
    if (file == nullptr) {
        const int error = errno;
        EP_LOG(kLogError, "Failed to popen file /proc/meminfo, errno = %d\n", error);
        return;
    }
    const MemoryFigures figures = ReadMemoryFigures(file.get());
    if (!ComputeMemory(figures, used, total)) {
        EP_LOG(kLogError,
               "Numerical verification MemTotal: %llu, MemFree: %llu, MemAvailable: %llu, "
               "Buffers: %llu, Cached: %llu",
               figures.total, figures.free, figures.available, figures.buffers, figures.cached);
    }
    EP_LOG(kLogDebug, "mem_usaged: %u", used);
    EP_LOG(kLogDebug, "mem_total: %u", total);
}

int GetAgentResoureInfo(_stResmon& resmon) {
    resmon = _stResmon{};
    get_cpu_used(resmon.cpu_usage);
    get_mem_used(resmon.mem_used, resmon.mem_total);
    return 0;
}
