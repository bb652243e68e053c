// What a process holds. Counted while the module is stopped.
#ifndef KXEPINFO_TESTS_E2E_STORM_RESOURCES_H
#define KXEPINFO_TESTS_E2E_STORM_RESOURCES_H

#include <cstddef>
#include <set>
#include <string>

namespace storm {

// Waits until there are so many, since a thread that was joined is for a moment still listed; after
// some seconds tells how many there are.
std::size_t Threads(std::size_t expected);

// Memory in use, in KiB, once what the C library keeps for later has been given back.
std::size_t ResidentKiB();

// Names of the files below `directory` that are mapped into the process.
std::set<std::string> MappedFrom(const std::string& directory);

}  // namespace storm

#endif  // KXEPINFO_TESTS_E2E_STORM_RESOURCES_H
