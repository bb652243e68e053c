#include "bare_database.h"

#include <unistd.h>

#include "report.h"

BareDatabase::BareDatabase(const std::string& file) {
    for (const char* end : {"", "-wal", "-shm"}) {
        (void)unlink((file + end).c_str());
    }
    if (sqlite3_open(file.c_str(), &connection_) != SQLITE_OK) {
        kxbench::Fail("cannot make " + file);
    }
    Execute("PRAGMA journal_mode = WAL; PRAGMA synchronous = FULL");
    Execute("CREATE TABLE uploads (id INTEGER PRIMARY KEY, payload BLOB NOT NULL)");
    if (sqlite3_prepare_v2(connection_, "INSERT INTO uploads (payload) VALUES (?1)", -1, &insert_,
                           nullptr) != SQLITE_OK) {
        kxbench::Fail(sqlite3_errmsg(connection_));
    }
}

BareDatabase::~BareDatabase() {
    (void)sqlite3_finalize(insert_);
    (void)sqlite3_close(connection_);
}

void BareDatabase::Keep(const std::string& upload) {
    if (sqlite3_bind_blob64(insert_, 1, upload.data(), upload.size(), SQLITE_STATIC) != SQLITE_OK ||
        sqlite3_step(insert_) != SQLITE_DONE || sqlite3_reset(insert_) != SQLITE_OK) {
        kxbench::Fail(sqlite3_errmsg(connection_));
    }
}

void BareDatabase::Execute(const char* sql) {
    if (sqlite3_exec(connection_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) {
        kxbench::Fail(sqlite3_errmsg(connection_));
    }
}
