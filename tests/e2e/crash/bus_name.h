// Who has a name on the bus.
#ifndef KXEPINFO_TESTS_E2E_CRASH_BUS_NAME_H
#define KXEPINFO_TESTS_E2E_CRASH_BUS_NAME_H

#include <sys/types.h>

#include <filesystem>
#include <string>

namespace kxtest {

// The process that takes connections under that name in a directory of sockets; 0 when none does, a
// socket that a dead process left behind included.
pid_t HolderOfBusName(const std::filesystem::path& directory, const std::string& name);

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_CRASH_BUS_NAME_H
