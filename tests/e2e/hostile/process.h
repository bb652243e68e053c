// What a process holds, seen from outside.
#ifndef KXEPINFO_TESTS_E2E_HOSTILE_PROCESS_H
#define KXEPINFO_TESTS_E2E_HOSTILE_PROCESS_H

#include <sys/types.h>

#include <cstddef>
#include <ostream>

namespace kxtest {

// Memory that is allowed on top of what is expected: none, unless a sanitizer keeps some.
#ifdef KX_SANITIZED
inline constexpr std::size_t kSanitizersKib = std::size_t{1} << 30U;
#else
inline constexpr std::size_t kSanitizersKib = 0;
#endif

struct Held {
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    std::size_t resident_kib = 0;
    std::size_t peak_kib = 0;  // since ForgetPeak, or since the start
};

std::ostream& operator<<(std::ostream& out, const Held& held);

Held HeldBy(pid_t process);

void ForgetPeak(pid_t process);

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_HOSTILE_PROCESS_H
