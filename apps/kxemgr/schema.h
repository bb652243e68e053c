// The tables of the manager's database, and how older databases come to have them.
#ifndef KX_APPS_KXEMGR_SCHEMA_H
#define KX_APPS_KXEMGR_SCHEMA_H

#include <span>

#include "kxemgr/sqlite.h"

namespace kxemgr {

// Marks a database as the manager's: "KXEM", as PRAGMA application_id tells it.
inline constexpr std::int64_t kApplicationId = 0x4B58454D;

// Each takes the schema from one version to the next; the first one makes the tables. What is here
// has been in use and is not changed any more: a new version is a new entry.
std::span<const char* const> Migrations();

// Throws SqliteError unless the database is new, without a table, or the manager's. Changes
// nothing.
void CheckOwner(sqlite3& connection);

// Brings the schema to the last version, all in one transaction. PRAGMA user_version is the number
// of migrations that have been done. Throws SqliteError for a database that is newer than this
// program, which is left as it is.
void Migrate(sqlite3& connection, std::span<const char* const> migrations);

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_SCHEMA_H
