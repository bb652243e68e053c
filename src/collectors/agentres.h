// Resource usage of the machine: processor and memory load. Runs on the worker's thread, keeps
// nothing between calls. Sources: /proc/stat and /proc/meminfo, see proc(5).
#ifndef KXEPINFO_COLLECTORS_AGENTRES_H
#define KXEPINFO_COLLECTORS_AGENTRES_H

#include <cstdint>

#include "common/records.h"

// Fills the record, blocking for one second. Always returns 0: what could not be measured is 0 in
// the record and told in the log.
int GetAgentResoureInfo(_stResmon& resmon);

// The share of processor time spent busy during one second, in hundredths of a percent; 0 when it
// could not be measured. Blocks the thread for that second.
void get_cpu_used(uint32_t& usage);

// Processor time since boot in clock ticks (USER_HZ), over all processors: spent busy, and in
// all. Waiting for input and output counts as not busy. Both 0 when /proc/stat cannot be read.
void get_cpu_stat(uint64_t& utilised, uint64_t& total);

// Memory in kB, each cut to its low 32 bits. Both 0 when /proc/meminfo cannot be read or makes no
// sense.
void get_mem_used(uint32_t& used, uint32_t& total);

#endif  // KXEPINFO_COLLECTORS_AGENTRES_H
