#include "kxemgr/console/queries.h"

namespace kxemgr::console {

namespace {

// The columns that ReadSummary reads.
constexpr char kSummary[] =
    "SELECT a.agent_id, a.host_name, a.first_seen, a.last_seen, a.resources IS NOT NULL, "
    "json_extract(a.resources, '$.cpu_usage'), json_extract(a.resources, '$.mem_usaged'), "
    "json_extract(a.resources, '$.mem_total'), json_extract(a.system, '$.base_info.sys_distro'), "
    "json_extract(a.system, '$.agent_info.agent_version'), "
    "(SELECT sum(uploads) FROM clones c WHERE c.agent_id = a.agent_id), "
    "(SELECT max(last_seen) FROM clones c WHERE c.agent_id = a.agent_id), a.system, a.login "
    "FROM agents a ";
constexpr int kSystemColumn = 12;
constexpr int kLoginColumn = 13;

AgentSummary ReadSummary(const Statement& row) {
    AgentSummary summary;
    summary.id = static_cast<std::uint32_t>(row.number(0));
    summary.host_name = row.text(1);
    summary.first_seen = row.number(2);
    summary.last_seen = row.number(3);
    if (row.number(4) != 0) {
        summary.usage = {row.number(5), row.number(6), row.number(7)};
    }
    summary.distribution = row.text(8);
    summary.agent_version = row.text(9);
    summary.clone_uploads = row.number(10);
    summary.last_clone = row.number(11);
    return summary;
}

// What `read` makes of each row.
template <class Read>
auto ReadRows(Statement& statement, Read read) {
    std::vector<decltype(read(statement))> rows;
    while (statement.step()) {
        rows.push_back(read(statement));
    }
    return rows;
}

// The rows of an agent, which is ?1, but not more than ?2 of them.
template <class Read>
auto RowsOfAgent(sqlite3& connection, const char* sql, std::uint32_t id, int most, Read read) {
    Statement statement(connection, sql);
    statement.bind(1, id);
    statement.bind(2, most);
    return ReadRows(statement, read);
}

std::vector<ChangeRow> QueryChanges(sqlite3& connection, std::uint32_t id) {
    constexpr char kSql[] =
        "SELECT changed_at, subject, item, before, after FROM changes WHERE agent_id = ?1 "
        "ORDER BY id DESC LIMIT ?2";
    return RowsOfAgent(connection, kSql, id, kMostListedChanges, [](const Statement& row) {
        return ChangeRow{row.number(0), {row.text(1), row.text(2), row.text(3), row.text(4)}};
    });
}

std::vector<CloneRow> QueryClones(sqlite3& connection, std::uint32_t id) {
    constexpr char kSql[] =
        "SELECT host_name, macs, vm_id, first_seen, last_seen, uploads FROM clones "
        "WHERE agent_id = ?1 ORDER BY last_seen DESC LIMIT ?2";
    return RowsOfAgent(connection, kSql, id, kMostListedClones, [](const Statement& row) {
        return CloneRow{row.text(0),   row.text(1),   row.text(2),
                        row.number(3), row.number(4), row.number(5)};
    });
}

// Reads of one answer see one state, whatever is written meanwhile.
class Snapshot {
  public:
    explicit Snapshot(sqlite3& connection) : m_connection(connection) {
        Execute(connection, "BEGIN");
    }
    ~Snapshot() { (void)sqlite3_exec(&m_connection, "ROLLBACK", nullptr, nullptr, nullptr); }
    Snapshot(const Snapshot&) = delete;
    Snapshot& operator=(const Snapshot&) = delete;

  private:
    sqlite3& m_connection;
};

}  // namespace

std::vector<AgentSummary> QueryAgents(sqlite3& connection) {
    Statement statement(connection,
                        (std::string(kSummary) + "ORDER BY a.last_seen DESC LIMIT ?1").c_str());
    statement.bind(1, kMostListedAgents);
    return ReadRows(statement, ReadSummary);
}

std::optional<AgentDetail> QueryAgent(sqlite3& connection, std::uint32_t id) {
    const Snapshot snapshot(connection);
    AgentDetail detail;
    {
        Statement statement(connection, (std::string(kSummary) + "WHERE a.agent_id = ?1").c_str());
        statement.bind(1, id);
        if (!statement.step()) {
            return std::nullopt;
        }
        detail.summary = ReadSummary(statement);
        detail.system = statement.text(kSystemColumn);
        detail.login = statement.text(kLoginColumn);
    }
    detail.changes = QueryChanges(connection, id);
    detail.clones = QueryClones(connection, id);
    return detail;
}

History QueryHistory(sqlite3& connection, std::uint32_t id, std::int64_t from, std::int64_t to,
                     std::int64_t points) {
    History history;
    history.from = from;
    history.to = to;
    history.step = (to - from + points - 1) / points;
    Statement statement(connection,
                        "SELECT max(received_at), avg(cpu), max(cpu), avg(memory_used), "
                        "max(memory_total) FROM samples WHERE agent_id = ?1 AND received_at >= ?2 "
                        "AND received_at < ?3 GROUP BY (received_at - ?2) / ?4 ORDER BY 1");
    statement.bind(1, id);
    statement.bind(2, from);
    statement.bind(3, to);
    statement.bind(4, history.step);
    history.points = ReadRows(statement, [](const Statement& row) {
        return History::Point{row.number(0), row.number(1), row.number(2), row.number(3),
                              row.number(4)};
    });
    return history;
}

}  // namespace kxemgr::console
