#include "kxemgr/schema.h"

namespace kxemgr {

namespace {

// Times are milliseconds since the epoch by the manager's clock.
constexpr char kFirst[] = R"(
-- Every upload, in the order of receipt.
CREATE TABLE uploads (
    id              INTEGER PRIMARY KEY,
    received_at     INTEGER NOT NULL,
    agent_id        INTEGER NOT NULL,
    source          TEXT    NOT NULL,  -- name on the bus
    request_id      INTEGER NOT NULL,
    cmd             INTEGER NOT NULL,
    agent_timestamp INTEGER NOT NULL,  -- seconds since the epoch by the agent's clock
    duplicate       INTEGER NOT NULL,  -- 1: came from another machine than the agent id's own
    payload         BLOB    NOT NULL   -- the epinfo message, the bytes as they came
);
CREATE INDEX uploads_by_agent ON uploads (agent_id, received_at);
CREATE INDEX uploads_by_time ON uploads (received_at);

-- The latest of each agent; uploads that are duplicates change nothing here.
CREATE TABLE agents (
    agent_id   INTEGER PRIMARY KEY,
    first_seen INTEGER NOT NULL,
    last_seen  INTEGER NOT NULL,
    host_name  TEXT NOT NULL,  -- the machine, each fact as last reported; empty: never was
    macs       TEXT NOT NULL,  -- joined by commas
    vm_id      TEXT NOT NULL,  -- decimal, since it may exceed a signed number
    resources  TEXT,           -- sections in JSON, each as last reported; NULL: never was
    system     TEXT,
    login      TEXT
);
CREATE INDEX agents_by_time ON agents (last_seen);
)";

constexpr const char* kMigrations[] = {kFirst};

}  // namespace

std::span<const char* const> Migrations() {
    return kMigrations;
}

void CheckOwner(sqlite3& connection) {
    const std::int64_t owner = QueryNumber(connection, "PRAGMA application_id");
    if (owner != kApplicationId &&
        (owner != 0 || QueryNumber(connection, "SELECT count(*) FROM sqlite_schema") != 0)) {
        throw SqliteError("it is the database of another program");
    }
}

void Migrate(sqlite3& connection, std::span<const char* const> migrations) {
    Transaction transaction(connection);
    const auto last = static_cast<std::int64_t>(migrations.size());
    const std::int64_t version = QueryNumber(connection, "PRAGMA user_version");
    if (version < 0 || version > last) {
        throw SqliteError("its schema has version " + std::to_string(version) +
                          ", and this program knows none above " + std::to_string(last));
    }
    for (const char* migration : migrations.subspan(static_cast<std::size_t>(version))) {
        Execute(connection, migration);
    }
    Execute(connection, ("PRAGMA application_id = " + std::to_string(kApplicationId)).c_str());
    Execute(connection, ("PRAGMA user_version = " + std::to_string(last)).c_str());
    transaction.commit();
}

}  // namespace kxemgr
