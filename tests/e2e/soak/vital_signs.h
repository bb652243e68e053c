// What a process holds, as the kernel tells it.
#ifndef KXEPINFO_TESTS_E2E_SOAK_VITAL_SIGNS_H
#define KXEPINFO_TESTS_E2E_SOAK_VITAL_SIGNS_H

#include <sys/types.h>

#include <cstddef>

namespace kxtest {

struct VitalSigns {
    // From /proc/PID/smaps_rollup, in KiB.
    std::size_t resident = 0;      // Rss
    std::size_t proportional = 0;  // Pss: of what is shared, its share
    std::size_t own = 0;           // Private_Dirty: written to, not what it maps of files

    std::size_t descriptors = 0;
    std::size_t threads = 0;
    std::size_t children = 0;  // dead ones that nobody has waited for among them
};

// All are 0 for a process that is not there.
VitalSigns LookAtProcess(pid_t process);

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_SOAK_VITAL_SIGNS_H
