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

constexpr char kHistory[] = R"(
-- Resource usage, one row an upload that tells it; not of duplicates.
CREATE TABLE samples (
    agent_id     INTEGER NOT NULL,
    received_at  INTEGER NOT NULL,
    cpu          INTEGER NOT NULL,  -- hundredths of a percent
    memory_used  INTEGER NOT NULL,  -- kB
    memory_total INTEGER NOT NULL,  -- kB
    PRIMARY KEY (agent_id, received_at)
) WITHOUT ROWID;
CREATE INDEX samples_by_time ON samples (received_at);

-- What an upload told otherwise than the one before; see changes.h.
CREATE TABLE changes (
    id         INTEGER PRIMARY KEY,
    agent_id   INTEGER NOT NULL,
    changed_at INTEGER NOT NULL,
    subject    TEXT    NOT NULL,
    item       TEXT    NOT NULL,
    before     TEXT    NOT NULL,  -- empty: was not there
    after      TEXT    NOT NULL   -- empty: is not there any more
);
CREATE INDEX changes_by_agent ON changes (agent_id, id);
CREATE INDEX changes_by_time ON changes (changed_at);

-- Other machines that used an agent's id; the facts as in agents.
CREATE TABLE clones (
    agent_id   INTEGER NOT NULL,
    host_name  TEXT    NOT NULL,
    macs       TEXT    NOT NULL,
    vm_id      TEXT    NOT NULL,
    first_seen INTEGER NOT NULL,
    last_seen  INTEGER NOT NULL,
    uploads    INTEGER NOT NULL,
    PRIMARY KEY (agent_id, host_name, macs, vm_id)
) WITHOUT ROWID;
CREATE INDEX clones_by_time ON clones (last_seen);
)";

constexpr const char* kMigrations[] = {kFirst, kHistory};

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
