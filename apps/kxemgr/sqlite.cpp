#include "kxemgr/sqlite.h"

#include <cstring>

namespace kxemgr {

namespace {

[[noreturn]] void Throw(sqlite3* connection) {
    if (connection == nullptr) {
        throw SqliteError(sqlite3_errstr(SQLITE_NOMEM));
    }
    const int code = sqlite3_errcode(connection) & 0xFF;
    std::string words = sqlite3_errmsg(connection);
    const int system = sqlite3_system_errno(connection);
    if ((code == SQLITE_IOERR || code == SQLITE_CANTOPEN) && system != 0) {
        words += std::string(": ") + std::strerror(system);
    }
    throw SqliteError(words);
}

Connection Open(const std::string& file, int busy_ms, int access) {
    sqlite3* opened = nullptr;
    const int code = sqlite3_open_v2(file.c_str(), &opened,
                                     access | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE, nullptr);
    Connection connection(opened);
    if (code != SQLITE_OK) {
        Throw(opened);
    }
    (void)sqlite3_busy_timeout(opened, busy_ms);
    return connection;
}

}  // namespace

Connection OpenConnection(const std::string& file, int busy_ms) {
    return Open(file, busy_ms, SQLITE_OPEN_READWRITE);
}

Connection OpenReader(const std::string& file, int busy_ms) {
    return Open(file, busy_ms, SQLITE_OPEN_READONLY);
}

void Execute(sqlite3& connection, const char* sql) {
    if (sqlite3_exec(&connection, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        Throw(&connection);
    }
}

std::int64_t QueryNumber(sqlite3& connection, const char* sql) {
    Statement statement(connection, sql);
    if (!statement.step()) {
        throw SqliteError(std::string("no answer to ") + sql);
    }
    return statement.number(0);
}

Statement::Statement(sqlite3& connection, const char* sql) : m_connection(connection) {
    sqlite3_stmt* statement = nullptr;
    check(sqlite3_prepare_v3(&connection, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    m_statement.reset(statement);
}

void Statement::bind(int parameter, std::int64_t number) {
    check(sqlite3_bind_int64(m_statement.get(), parameter, number));
}

void Statement::bind(int parameter, const std::optional<std::string>& text) {
    check(text ? sqlite3_bind_text64(m_statement.get(), parameter, text->data(), text->size(),
                                     SQLITE_STATIC, SQLITE_UTF8)
               : sqlite3_bind_null(m_statement.get(), parameter));
}

void Statement::bind_blob(int parameter, std::string_view bytes) {
    // A null pointer would become NULL instead of a blob without bytes.
    check(sqlite3_bind_blob64(m_statement.get(), parameter, bytes.empty() ? "" : bytes.data(),
                              bytes.size(), SQLITE_STATIC));
}

bool Statement::step() {
    const int code = sqlite3_step(m_statement.get());
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        Throw(&m_connection);
    }
    return code == SQLITE_ROW;
}

std::int64_t Statement::number(int column) const {
    return sqlite3_column_int64(m_statement.get(), column);
}

std::string Statement::text(int column) const {
    const auto* text =
        reinterpret_cast<const char*>(sqlite3_column_text(m_statement.get(), column));
    const int length = sqlite3_column_bytes(m_statement.get(), column);
    return text != nullptr ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

void Statement::reset() noexcept {
    // Repeats the fault of the step before, which has been thrown.
    (void)sqlite3_reset(m_statement.get());
    (void)sqlite3_clear_bindings(m_statement.get());
}

void Statement::check(int code) const {
    if (code != SQLITE_OK) {
        Throw(&m_connection);
    }
}

Transaction::Transaction(sqlite3& connection) : m_connection(connection) {
    Execute(connection, "BEGIN IMMEDIATE");
}

Transaction::~Transaction() {
    // Some faults have rolled back by themselves, and then this fails.
    if (m_open) {
        (void)sqlite3_exec(&m_connection, "ROLLBACK", nullptr, nullptr, nullptr);
    }
}

void Transaction::commit() {
    Execute(m_connection, "COMMIT");
    m_open = false;
}

}  // namespace kxemgr
