// What the module exports, read from outside while it works.
#ifndef KXEPINFO_TESTS_E2E_LINK_EXPORTED_NUMBER_H
#define KXEPINFO_TESTS_E2E_LINK_EXPORTED_NUMBER_H

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>

namespace kxtest {

// The 32-bit number that `library` exports under that name, as it stands in the memory of the
// process, which has the library loaded. Nothing when it cannot be read: another user's process
// needs the right to trace it.
std::optional<uint32_t> ExportedNumber(pid_t process, const std::filesystem::path& library,
                                       const char* name);

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_LINK_EXPORTED_NUMBER_H
