#include "collectors/agentres_parse.h"

#include <cstdio>
#include <cstring>

const std::array<MemoryField, 5> kMemoryFields = {{
    {"MemTotal", "MemTotal: %llu kB", "total", &MemoryFigures::total},
    {"MemFree", "MemFree: %llu kB", "free", &MemoryFigures::free},
    {"MemAvailable", "MemAvailable: %llu kB", "available", &MemoryFigures::available},
    {"Buffers", "Buffers: %llu kB", "buffers", &MemoryFigures::buffers},
    {"Cached", "Cached: %llu kB", "Cached", &MemoryFigures::cached},
}};

CpuTimes ParseCpuLine(const char* line) {
    char label[11] = {};
    unsigned long long user = 0;
    unsigned long long nice = 0;
    unsigned long long system = 0;
    unsigned long long idle = 0;
    unsigned long long iowait = 0;
    unsigned long long irq = 0;
    unsigned long long softirq = 0;
    unsigned long long steal = 0;
    // How many columns there are depends on the kernel; those that are missing stay 0, and the
    // kernel writes no number that does not fit.
    // NOLINTNEXTLINE(cert-err34-c)
    (void)std::sscanf(line, "%10s %llu %llu %llu %llu %llu %llu %llu %llu", label, &user, &nice,
                      &system, &idle, &iowait, &irq, &softirq, &steal);
    CpuTimes times;
    times.utilised = user + nice + system + irq + softirq + steal;
    times.total = times.utilised + idle + iowait;
    return times;
}

bool ComputeCpuUsage(const CpuTimes& first, const CpuTimes& second, uint32_t& usage) {
    usage = 0;
    // The strict comparison is what keeps the division from dividing by zero.
    if (second.total <= first.total || second.utilised < first.utilised) {
        return false;
    }
    const uint64_t hundredths =
        (second.utilised - first.utilised) * 10000 / (second.total - first.total);
    usage = static_cast<uint32_t>(hundredths);
    return true;
}

bool ParseMemoryLine(const char* line, const MemoryField& field, MemoryFigures& figures) {
    if (std::strstr(line, field.name) == nullptr) {
        return false;
    }
    (void)std::sscanf(line, field.pattern, &(figures.*field.figure));
    return true;
}

bool ComputeMemory(const MemoryFigures& figures, uint32_t& used, uint32_t& total) {
    used = 0;
    total = 0;
    const uint64_t not_used = figures.available != 0
                                  ? figures.available
                                  : figures.free + figures.buffers + figures.cached;
    if (figures.total == 0 || figures.total < not_used) {
        return false;
    }
    used = static_cast<uint32_t>(figures.total - not_used);
    total = static_cast<uint32_t>(figures.total);
    return true;
}
