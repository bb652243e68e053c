// The agent around the handlers: a bus that counts what is sent, an INI file that records what is
// set, a silent log. Every "@" path leads to a file that is there, so that none is made.
#ifndef KXEPINFO_TESTS_FUZZ_IPC_FUZZED_AGENT_H
#define KXEPINFO_TESTS_FUZZ_IPC_FUZZED_AGENT_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ipc/epinfoipc.h"

struct FuzzedAgent {
    std::vector<std::string> requests;         // sent by the module
    int answers = 0;                           // given by the module
    std::map<std::string, std::string> saved;  // keys of the one section, when it was saved
};

// What happened since the last reset.
FuzzedAgent& Agent();

// An endpoint that is initialised.
CEpInfoIpc& Endpoint();

// Handles that are not null.
nox_ipc_st* Bus();
const nox_addr_st* Peer();

// Ends the program, which the fuzzing engine takes for a finding.
void Require(bool condition);

// A copy of the input of exactly its size, which may be written to as what the bus hands out may.
inline std::vector<char> Bytes(const uint8_t* data, std::size_t size) {
    return {data, data + size};
}

#endif  // KXEPINFO_TESTS_FUZZ_IPC_FUZZED_AGENT_H
