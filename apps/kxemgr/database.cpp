#include "kxemgr/database.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "common/decode.h"
#include "common/number.h"
#include "common/text.h"
#include "kxemgr/schema.h"

namespace kxemgr {

namespace {

constexpr mode_t kFileMode = 0600;

constexpr char kInsertUpload[] =
    "INSERT INTO uploads (received_at, agent_id, source, request_id, cmd, agent_timestamp, "
    "duplicate, payload) VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8)";
constexpr char kSelectMachine[] = "SELECT host_name, macs, vm_id FROM agents WHERE agent_id = ?1";
constexpr char kUpdateAgent[] =
    "INSERT INTO agents (agent_id, first_seen, last_seen, host_name, macs, vm_id, resources, "
    "system, login) VALUES (?1, ?2, ?2, ?3, ?4, ?5, ?6, ?7, ?8) "
    "ON CONFLICT (agent_id) DO UPDATE SET last_seen = ?2, host_name = ?3, macs = ?4, vm_id = ?5, "
    "resources = coalesce(?6, resources), system = coalesce(?7, system), "
    "login = coalesce(?8, login)";

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

std::int64_t Milliseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
}

std::optional<std::string> SectionText(bool present, const google::protobuf::Message& section) {
    if (!present) {
        return std::nullopt;
    }
    std::string text = kxapp::ToText(kxapp::MessageToJson(section).get());
    text.pop_back();
    return text;
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
      m_select_machine(*m_connection, kSelectMachine),
      m_update_agent(*m_connection, kUpdateAgent) {}

std::optional<bool> Database::keep(const Upload& upload, std::string& fault) {
    try {
        return keep(upload);
    } catch (const SqliteError& error) {
        fault = error.what();
        return std::nullopt;
    }
}

bool Database::keep(const Upload& upload) {
    check_that_file_is_there();
    const std::int64_t now_ms = Milliseconds(upload.received);
    Transaction transaction(*m_connection);
    const bool duplicate = keep_agent(upload, now_ms);
    insert_upload(upload, now_ms, duplicate);
    transaction.commit();
    return duplicate;
}

bool Database::keep_agent(const Upload& upload, std::int64_t now_ms) {
    const std::uint32_t agent_id = upload.message.agent_id();
    if (agent_id == 0) {
        return false;
    }
    Machine machine = machine_of(agent_id);
    if (IsDuplicate(machine, upload.message)) {
        return true;
    }
    update_agent(upload.message, machine, now_ms);
    return false;
}

Machine Database::machine_of(std::uint32_t agent_id) {
    const Run run(m_select_machine);
    run->bind(1, agent_id);
    if (!run->step()) {
        return {};
    }
    return {run->text(0), SplitMacs(run->text(1)), kxapp::ReadNumber(run->text(2)).value_or(0)};
}

void Database::insert_upload(const Upload& upload, std::int64_t now_ms, bool duplicate) {
    const std::optional<std::string> source = kxapp::RepairUtf8(upload.from);
    const Run run(m_insert_upload);
    run->bind(1, now_ms);
    run->bind(2, upload.message.agent_id());
    run->bind(3, source);
    run->bind(4, upload.request_id);
    run->bind(5, upload.message.cmd());
    run->bind(6, static_cast<std::int64_t>(upload.message.agent_timestamp()));
    run->bind(7, duplicate ? 1 : 0);
    run->bind_blob(8, upload.payload);
    (void)run->step();
}

void Database::update_agent(const bf_kxepinfo::epinfo& message, const Machine& machine,
                            std::int64_t now_ms) {
    const std::optional<std::string> host_name = machine.host_name;
    const std::optional<std::string> macs = JoinMacs(machine.macs);
    const std::optional<std::string> vm_id =
        machine.vm_id == 0 ? std::string() : std::to_string(machine.vm_id);
    const auto resources = SectionText(message.has_rc_info(), message.rc_info());
    const auto system = SectionText(message.has_sys_info(), message.sys_info());
    const auto login = SectionText(message.has_login_info(), message.login_info());
    const Run run(m_update_agent);
    run->bind(1, message.agent_id());
    run->bind(2, now_ms);
    run->bind(3, host_name);
    run->bind(4, macs);
    run->bind(5, vm_id);
    run->bind(6, resources);
    run->bind(7, system);
    run->bind(8, login);
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
