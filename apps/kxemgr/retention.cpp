#include "kxemgr/retention.h"

#include <ctime>
#include <filesystem>
#include <vector>

#include "common/complain.h"
#include "kxemgr/recorder.h"

namespace kxemgr {

namespace {

constexpr std::int64_t kMsOfADay = std::int64_t{24} * 60 * 60 * 1000;

// Rows that go by one statement; ?1 is the time, ?2 how many.
constexpr const char* kDeletes[] = {
    "DELETE FROM samples WHERE (agent_id, received_at) IN (SELECT agent_id, received_at FROM "
    "samples WHERE received_at < ?1 ORDER BY received_at LIMIT ?2)",
    "DELETE FROM changes WHERE id IN (SELECT id FROM changes WHERE changed_at < ?1 ORDER BY "
    "changed_at LIMIT ?2)",
    "DELETE FROM clones WHERE (agent_id, host_name, macs, vm_id) IN (SELECT agent_id, host_name, "
    "macs, vm_id FROM clones WHERE last_seen < ?1 ORDER BY last_seen LIMIT ?2)",
};

bool HasOlder(sqlite3& connection, std::int64_t cutoff_ms) {
    Statement statement(connection,
                        "SELECT EXISTS (SELECT 1 FROM uploads WHERE received_at < ?1) OR "
                        "EXISTS (SELECT 1 FROM samples WHERE received_at < ?1) OR "
                        "EXISTS (SELECT 1 FROM changes WHERE changed_at < ?1) OR "
                        "EXISTS (SELECT 1 FROM clones WHERE last_seen < ?1)");
    statement.bind(1, cutoff_ms);
    return statement.step() && statement.number(0) != 0;
}

// The oldest uploads, up to both bounds; one at least.
std::vector<std::int64_t> OldUploads(sqlite3& connection, std::int64_t cutoff_ms) {
    Statement statement(connection,
                        "SELECT id, length(payload) FROM uploads WHERE received_at < ?1 ORDER BY "
                        "received_at LIMIT ?2");
    statement.bind(1, cutoff_ms);
    statement.bind(2, kMostRowsOfABatch);
    std::vector<std::int64_t> ids;
    for (std::int64_t bytes = 0; bytes < kMostBytesOfABatch && statement.step();) {
        ids.push_back(statement.number(0));
        bytes += statement.number(1);
    }
    return ids;
}

void DeleteUploads(sqlite3& connection, std::int64_t cutoff_ms) {
    Statement statement(connection, "DELETE FROM uploads WHERE id = ?1");
    for (const std::int64_t id : OldUploads(connection, cutoff_ms)) {
        const Run run(statement);
        run->bind(1, id);
        (void)run->step();
    }
}

}  // namespace

bool DeleteBefore(sqlite3& connection, std::int64_t cutoff_ms) {
    if (!HasOlder(connection, cutoff_ms)) {
        return false;
    }
    Transaction transaction(connection);
    DeleteUploads(connection, cutoff_ms);
    for (const char* sql : kDeletes) {
        Statement statement(connection, sql);
        statement.bind(1, cutoff_ms);
        statement.bind(2, kMostRowsOfABatch);
        (void)statement.step();
    }
    transaction.commit();
    return true;
}

Retention::Retention(const std::string& file, std::uint64_t keep_days)
    : m_connection(OpenConnection(std::filesystem::absolute(file).string(), 0)),
      m_keep_ms(static_cast<std::int64_t>(keep_days) * kMsOfADay),
      m_timer(kxapp::MakeLoopHandle<uv_timer_t>(uv_timer_init)) {
    // Each batch is a commit, of which an upload's answer is not to depend: it may be lost.
    Execute(*m_connection, "PRAGMA synchronous = NORMAL");
    m_timer->data = this;
    pass();
}

void Retention::pass() {
    bool more = false;
    try {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        more = DeleteBefore(*m_connection, Milliseconds(now) - m_keep_ms);
    } catch (const std::exception& error) {
        kxapp::Complain("old uploads cannot be deleted: %s", error.what());
    }
    const auto on_due = [](uv_timer_t* timer) { static_cast<Retention*>(timer->data)->pass(); };
    (void)uv_timer_start(m_timer.get(), on_due, more ? kPauseMs : kRestMs, 0);
}

}  // namespace kxemgr
