// The pure half of agentres: from lines of /proc/stat and /proc/meminfo to figures. No function
// here touches the machine or the log.
#ifndef KXEPINFO_COLLECTORS_AGENTRES_PARSE_H
#define KXEPINFO_COLLECTORS_AGENTRES_PARSE_H

#include <array>
#include <cstddef>
#include <cstdint>

// Lines are read in pieces of at most this many bytes, the closing zero byte included. What is
// longer comes as several pieces, and each piece counts as a line.
inline constexpr std::size_t kLineSize = 1024;

// Clock ticks since boot.
struct CpuTimes {
    uint64_t utilised = 0;
    uint64_t total = 0;
};

// Reads the summary line of /proc/stat: a label of at most 10 characters and up to eight counters
// (user, nice, system, idle, iowait, irq, softirq, steal). Counters that are missing count as 0,
// which is what kernels without those columns mean.
CpuTimes ParseCpuLine(const char* line);

// True and the usage in hundredths of a percent when total time has grown between the samples and
// busy time has not shrunk; otherwise false and 0.
bool ComputeCpuUsage(const CpuTimes& first, const CpuTimes& second, uint32_t& usage);

// Figures of /proc/meminfo in kB, 0 until their line is seen.
struct MemoryFigures {
    unsigned long long total = 0;
    unsigned long long free = 0;
    unsigned long long available = 0;
    unsigned long long buffers = 0;
    unsigned long long cached = 0;
};

struct MemoryField {
    const char* name;     // searched for anywhere in a line
    const char* pattern;  // scanf pattern that the line must match from its start
    const char* label;    // in the log
    unsigned long long MemoryFigures::*figure;
};

// In the order in which every line is tested for them.
extern const std::array<MemoryField, 5> kMemoryFields;

// True when the field's name occurs in the line. The figure changes only when the line also matches
// the field's pattern: "SwapCached:" contains "Cached" and leaves the figure as it was.
bool ParseMemoryLine(const char* line, const MemoryField& field, MemoryFigures& figures);

// True and used and total memory in kB, cut to their low 32 bits; false and zeros when the total is
// missing or smaller than what would be subtracted from it. MemAvailable decides; kernels before
// 3.14 do not give it, and then free memory, buffers and cache are subtracted.
bool ComputeMemory(const MemoryFigures& figures, uint32_t& used, uint32_t& total);

#endif  // KXEPINFO_COLLECTORS_AGENTRES_PARSE_H
