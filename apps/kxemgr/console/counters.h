// What the manager has counted since it started.
#ifndef KX_APPS_KXEMGR_CONSOLE_COUNTERS_H
#define KX_APPS_KXEMGR_CONSOLE_COUNTERS_H

#include <atomic>
#include <cstdint>

namespace kxemgr::console {

// Counted up on the manager's thread, read on any.
struct Counters {
    std::atomic<std::uint64_t> accepted{0};    // uploads, clones' among them
    std::atomic<std::uint64_t> refused{0};     // uploads that were answered with status 0
    std::atomic<std::uint64_t> duplicates{0};  // of the accepted ones
    std::atomic<std::uint64_t> bad{0};         // requests that were no uploads
};

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_COUNTERS_H
