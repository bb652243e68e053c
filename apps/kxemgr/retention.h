// Deletes from the manager's database what is older than it is to be kept.
#ifndef KX_APPS_KXEMGR_RETENTION_H
#define KX_APPS_KXEMGR_RETENTION_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "common/loop_handle.h"
#include "kxemgr/sqlite.h"

namespace kxemgr {

// Of one table at most so many rows go at once, and of uploads no more behind those that have
// kMostBytesOfABatch together: an upload that comes meanwhile waits milliseconds, not minutes.
inline constexpr std::size_t kMostRowsOfABatch = 500;
inline constexpr std::int64_t kMostBytesOfABatch = std::int64_t{4} * 1024 * 1024;

// Deletes a batch of uploads, samples, changes and clones from before `cutoff_ms` in a transaction
// of its own, if there are any. True when there may be more. Agents stay: the manager tells clones
// by them. Throws SqliteError.
//
// The file does not shrink: SQLite fills the freed pages with what comes next, so it stays as large
// as the busiest time made it. Who wants the room back runs VACUUM while the manager is stopped.
bool DeleteBefore(sqlite3& connection, std::int64_t cutoff_ms);

// Does so every now and then for as long as it lives, on the event loop of the thread that made it
// and on a connection of its own, which waits for no lock. What goes wrong is told on standard
// error, and tried again.
class Retention {
  public:
    // So long after a batch that left nothing, and one behind which there is more.
    static constexpr std::uint64_t kRestMs = 10'000;
    static constexpr std::uint64_t kPauseMs = 100;

    // Throws SqliteError when the file, which the manager's Database has made, cannot be opened.
    Retention(const std::string& file, std::uint64_t keep_days);

  private:
    void pass();

    Connection m_connection;
    std::int64_t m_keep_ms;
    kxapp::LoopHandle<uv_timer_t> m_timer;
};

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_RETENTION_H
