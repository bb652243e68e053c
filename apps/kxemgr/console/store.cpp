#include "kxemgr/console/store.h"

#include <filesystem>

#include "kxemgr/schema.h"

namespace kxemgr::console {

namespace {

// A reader waits only while the manager opens the file or folds the log.
constexpr int kBusyMs = 2000;

Connection OpenMemory(std::int64_t most_bytes) {
    Connection connection = OpenConnection(":memory:", 0);
    constexpr std::int64_t kPageBytes = 4096;
    Execute(*connection, "PRAGMA page_size = 4096");
    Migrate(*connection, Migrations());
    // With the number in the statement: a PRAGMA takes no parameters.
    Execute(*connection,
            ("PRAGMA max_page_count = " + std::to_string(most_bytes / kPageBytes)).c_str());
    return connection;
}

}  // namespace

FileStore::FileStore(const std::string& file) : m_file(std::filesystem::absolute(file).string()) {}

void FileStore::read(const Query& query) {
    const Connection connection = OpenReader(m_file, kBusyMs);
    query(*connection);
}

MemoryStore::MemoryStore(std::int64_t most_bytes)
    : m_connection(OpenMemory(most_bytes)), m_recorder(*m_connection) {}

void MemoryStore::record(const kxapp::Upload& upload) {
    const std::lock_guard lock(m_mutex);
    try {
        record_in_transaction(upload);
    } catch (const SqliteError&) {
        // Full: there is no other fault here. Once more with all the room there is.
        forget_everything();
        record_in_transaction(upload);
    }
    if (++m_recorded % kTrimEvery == 0) {
        trim();
    }
}

void MemoryStore::read(const Query& query) {
    const std::lock_guard lock(m_mutex);
    query(*m_connection);
}

void MemoryStore::record_in_transaction(const kxapp::Upload& upload) {
    Transaction transaction(*m_connection);
    (void)m_recorder.record(upload);
    transaction.commit();
}

void MemoryStore::trim() {
    struct Bound {
        const char* sql;
        int rows;
    };
    constexpr Bound kBounds[] = {
        {"DELETE FROM samples WHERE received_at < (SELECT received_at FROM samples ORDER BY "
         "received_at DESC LIMIT 1 OFFSET ?1)",
         kMostSamples},
        {"DELETE FROM changes WHERE id <= (SELECT max(id) FROM changes) - 1 - ?1", kMostChanges},
        {"DELETE FROM clones WHERE last_seen < (SELECT last_seen FROM clones ORDER BY last_seen "
         "DESC LIMIT 1 OFFSET ?1)",
         kMostClones},
        {"DELETE FROM agents WHERE last_seen < (SELECT last_seen FROM agents ORDER BY last_seen "
         "DESC LIMIT 1 OFFSET ?1)",
         kMostAgents},
    };
    for (const Bound& bound : kBounds) {
        Statement statement(*m_connection, bound.sql);
        statement.bind(1, bound.rows - 1);
        (void)statement.step();
    }
}

void MemoryStore::forget_everything() {
    Execute(*m_connection,
            "DELETE FROM samples; DELETE FROM changes; DELETE FROM clones; DELETE FROM agents");
}

}  // namespace kxemgr::console
