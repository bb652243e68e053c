// What is derived from uploads in the order in which they come: the latest state of each agent, its
// resource usage over time, what changed, and clones.
#ifndef KX_APPS_KXEMGR_RECORDER_H
#define KX_APPS_KXEMGR_RECORDER_H

#include <cstdint>
#include <string>
#include <vector>

#include "common/upload.h"
#include "kxemgr/changes.h"
#include "kxemgr/machine.h"
#include "kxemgr/sqlite.h"

namespace kxemgr {

// Works on a database with the tables of schema.cpp, in the caller's transaction, on one thread.
class Recorder {
  public:
    explicit Recorder(sqlite3& connection);

    // Takes an upload in. Returns whether it comes from another machine than its agent id belongs
    // to (IsDuplicate of machine.h); then nothing is known of it but the clone. An upload without
    // an agent id (0) leaves no trace. Throws SqliteError.
    bool record(const kxapp::Upload& upload);

  private:
    struct Known {
        Machine machine;
        std::string system;  // sections in JSON; empty: never was, or none to compare it to
        std::string login;
    };
    Known known_of(const bf_kxepinfo::epinfo& message);
    void update_agent(const kxapp::Upload& upload, const Known& known, std::int64_t now_ms);
    void insert_sample(const bf_kxepinfo::epinfo& message, std::int64_t now_ms);
    void insert_changes(std::uint32_t agent_id, const std::vector<Change>& changes,
                        std::int64_t now_ms);
    void count_clone(const bf_kxepinfo::epinfo& message, std::int64_t now_ms);

    Statement m_select_agent;
    Statement m_update_agent;
    Statement m_insert_sample;
    Statement m_insert_change;
    Statement m_count_clone;
};

// Milliseconds since the epoch, the unit of every time in the database.
std::int64_t Milliseconds(const timespec& time);

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_RECORDER_H
