// SQLite's C interface with owners, and with exceptions instead of result codes.
#ifndef KX_APPS_KXEMGR_SQLITE_H
#define KX_APPS_KXEMGR_SQLITE_H

#include <sqlite3.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kxemgr {

// What went wrong, in SQLite's words ("database is locked"), the system's reason behind them where
// there is one.
class SqliteError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct CloseConnection {
    void operator()(sqlite3* connection) const { (void)sqlite3_close_v2(connection); }
};
using Connection = std::unique_ptr<sqlite3, CloseConnection>;

// Opens a file that is there, for reading and writing by one thread. Another process's lock is
// waited for `busy_ms`.
Connection OpenConnection(const std::string& file, int busy_ms);

// The same for reading only.
Connection OpenReader(const std::string& file, int busy_ms);

// Runs statements that take no values; results are dropped.
void Execute(sqlite3& connection, const char* sql);

// The number that a statement such as a PRAGMA gives.
std::int64_t QueryNumber(sqlite3& connection, const char* sql);

// A prepared statement, to be run many times. Parameters and columns are numbered as in SQL ?1, ?2
// and from 0 on.
class Statement {
  public:
    Statement(sqlite3& connection, const char* sql);

    // Text and bytes must live until the run has ended.
    void bind(int parameter, std::int64_t number);
    void bind(int parameter, const std::optional<std::string>& text);  // NULL for nothing
    void bind_blob(int parameter, std::string_view bytes);

    // True when there is a row.
    bool step();
    std::int64_t number(int column) const;
    std::string text(int column) const;  // empty for NULL

    // Ends a run: the parameters are NULL again.
    void reset() noexcept;

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const { (void)sqlite3_finalize(statement); }
    };
    void check(int code) const;

    sqlite3& m_connection;
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
};

// One run of a statement: ends it however the scope is left.
class Run {
  public:
    explicit Run(Statement& statement) : m_statement(statement) {}
    ~Run() { m_statement.reset(); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;
    Statement* operator->() const { return &m_statement; }

  private:
    Statement& m_statement;
};

// Everything between is done wholly or not at all. Takes the right to write at its begin.
class Transaction {
  public:
    explicit Transaction(sqlite3& connection);
    ~Transaction();
    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    // On disk when it returns.
    void commit();

  private:
    sqlite3& m_connection;
    bool m_open = true;
};

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_SQLITE_H
