#include "kxemgr/database.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "common/text.h"
#include "kxemgr/schema.h"

namespace kxemgr {

namespace {

constexpr mode_t kFileMode = 0600;

constexpr char kInsertUpload[] =
    "INSERT INTO uploads (received_at, agent_id, source, request_id, cmd, agent_timestamp, "
    "duplicate, payload) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)";

// Tells better than SQLite why a file cannot be written, and gives a new one its mode, which the
// files beside it take over.
void TouchFile(const std::string& file) {
    const int descriptor = open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOCTTY, kFileMode);
    if (descriptor < 0) {
        const int error = errno;
        throw SqliteError(std::strerror(error));
    }
    (void)close(descriptor);
}

// A commit is on disk before it returns: in a write-ahead log only with synchronous FULL.
void SetUp(sqlite3& connection) {
    (void)sqlite3_db_config(&connection, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    (void)sqlite3_db_config(&connection, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
    CheckOwner(connection);
    Statement wal(connection, "PRAGMA journal_mode = WAL");
    if (!wal.step() || wal.text(0) != "wal") {
        throw SqliteError("no write-ahead log can be made beside it");
    }
    wal.reset();
    Execute(connection, "PRAGMA synchronous = FULL; PRAGMA journal_size_limit = 67108864");
    Migrate(connection, Migrations());
}

Connection OpenFile(const std::string& file) {
    TouchFile(file);
    // Absolute, since some names, ":memory:" among them, mean something else to SQLite.
    Connection connection =
        OpenConnection(std::filesystem::absolute(file).string(), Database::kBusyMs);
    SetUp(*connection);
    return connection;
}

}  // namespace

std::unique_ptr<Database> Database::Open(const std::string& file, std::string& fault) {
    try {
        return std::unique_ptr<Database>(new Database(OpenFile(file)));
    } catch (const SqliteError& error) {
        fault = error.what();
        return nullptr;
    }
}

Database::Database(Connection connection)
    : m_connection(std::move(connection)),
      m_insert_upload(*m_connection, kInsertUpload),
      m_recorder(*m_connection) {}

std::optional<bool> Database::keep(const kxapp::Upload& upload, std::string& fault) {
    try {
        return keep(upload);
    } catch (const SqliteError& error) {
        fault = error.what();
        return std::nullopt;
    }
}

bool Database::keep(const kxapp::Upload& upload) {
    check_that_file_is_there();
    Transaction transaction(*m_connection);
    const bool duplicate = m_recorder.record(upload);
    insert_upload(upload, duplicate);
    transaction.commit();
    return duplicate;
}

void Database::insert_upload(const kxapp::Upload& upload, bool duplicate) {
    const std::optional<std::string> source = kxapp::RepairUtf8(upload.from);
    const Run run(m_insert_upload);
    run->bind(1, Milliseconds(upload.received));
    run->bind(2, upload.message.agent_id());
    run->bind(3, source);
    run->bind(4, upload.request_id);
    run->bind(5, upload.message.cmd());
    run->bind(6, static_cast<std::int64_t>(upload.message.agent_timestamp()));
    run->bind(7, duplicate ? 1 : 0);
    run->bind_blob(8, upload.payload);
    (void)run->step();
}

// What is written to a file that was moved or deleted is lost to everybody else.
void Database::check_that_file_is_there() {
    int moved = 0;
    if (sqlite3_file_control(m_connection.get(), "main", SQLITE_FCNTL_HAS_MOVED, &moved) ==
            SQLITE_OK &&
        moved != 0) {
        throw SqliteError("the file has been moved or deleted");
    }
}

}  // namespace kxemgr
