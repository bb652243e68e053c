// What the console asks the database. Each function takes a connection with the tables of
// schema.cpp and throws SqliteError. All times are milliseconds since the epoch by the manager's
// clock.
#ifndef KX_APPS_KXEMGR_CONSOLE_QUERIES_H
#define KX_APPS_KXEMGR_CONSOLE_QUERIES_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kxemgr/changes.h"
#include "kxemgr/sqlite.h"

namespace kxemgr::console {

// Bounds of what one answer holds; of more, the latest.
inline constexpr int kMostListedAgents = 10'000;
inline constexpr int kMostListedChanges = 200;
inline constexpr int kMostListedClones = 32;
inline constexpr std::int64_t kMostPoints = 2000;

struct Usage {
    std::int64_t cpu = 0;           // hundredths of a percent
    std::int64_t memory_used = 0;   // kB
    std::int64_t memory_total = 0;  // kB
};

// What the list of all agents shows of one.
struct AgentSummary {
    std::uint32_t id = 0;
    std::string host_name;  // empty where it was never told, like the other texts
    std::string distribution;
    std::string agent_version;
    std::int64_t first_seen = 0;
    std::int64_t last_seen = 0;
    std::optional<Usage> usage;
    std::int64_t clone_uploads = 0;
    std::int64_t last_clone = 0;  // 0: none
};

struct ChangeRow {
    std::int64_t time = 0;
    Change change;
};

struct CloneRow {
    std::string host_name;
    std::string macs;  // joined by commas
    std::string vm_id;
    std::int64_t first_seen = 0;
    std::int64_t last_seen = 0;
    std::int64_t uploads = 0;
};

struct AgentDetail {
    AgentSummary summary;
    std::string system;  // sections in JSON, empty: never was
    std::string login;
    std::vector<ChangeRow> changes;  // the latest first
    std::vector<CloneRow> clones;    // the latest first
};

// Resource usage in equal steps of time. A step without an upload has no point.
struct History {
    struct Point {
        std::int64_t time = 0;  // of the last upload in the step
        std::int64_t cpu = 0;   // averages
        std::int64_t cpu_highest = 0;
        std::int64_t memory_used = 0;
        std::int64_t memory_total = 0;
    };
    std::int64_t from = 0;  // included
    std::int64_t to = 0;    // not included
    std::int64_t step = 0;
    std::vector<Point> points;  // in the order of time
};

// The latest heard of first.
std::vector<AgentSummary> QueryAgents(sqlite3& connection);

std::optional<AgentDetail> QueryAgent(sqlite3& connection, std::uint32_t id);

// At most `points` points, 1 to kMostPoints, between `from` and `to`, which is behind it.
History QueryHistory(sqlite3& connection, std::uint32_t id, std::int64_t from, std::int64_t to,
                     std::int64_t points);

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_QUERIES_H
