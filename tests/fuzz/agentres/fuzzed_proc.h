// What the sampler reads instead of /proc, and a silent log.
#ifndef KXEPINFO_TESTS_FUZZ_AGENTRES_FUZZED_PROC_H
#define KXEPINFO_TESTS_FUZZ_AGENTRES_FUZZED_PROC_H

#include <deque>
#include <string>

// One content for each file that is opened, in that order; then files cannot be opened.
std::deque<std::string>& FuzzedFiles();

#endif  // KXEPINFO_TESTS_FUZZ_AGENTRES_FUZZED_PROC_H
