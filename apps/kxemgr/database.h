// The manager's memory on disk: every upload, and what is derived from them.
#ifndef KX_APPS_KXEMGR_DATABASE_H
#define KX_APPS_KXEMGR_DATABASE_H

#include <memory>
#include <optional>
#include <string>

#include "common/upload.h"
#include "kxemgr/recorder.h"
#include "kxemgr/sqlite.h"

namespace kxemgr {

// An SQLite file (tables: schema.cpp) with a write-ahead log, FILE-wal and FILE-shm beside it.
// Other programs may read it at any time. It grows by each upload, unless old rows are deleted
// (retention.h); whoever keeps it may do that too.
class Database {
  public:
    // So long another process's lock is waited for. An agent waits 5 s for its answer.
    static constexpr int kBusyMs = 2000;

    // Opens the file, or makes it, readable by its owner only, and brings its schema up to date.
    // Null when that cannot be done; `fault` then tells why, in words.
    static std::unique_ptr<Database> Open(const std::string& file, std::string& fault);

    // Keeps an upload. Returns whether it comes from another machine than its agent id belongs to
    // (IsDuplicate of machine.h); one without an agent id (0) does not.
    //
    // When it returns, the upload is on disk: neither the end of this process nor of the machine
    // loses it. Nothing when it could not be kept; `fault` then tells why, in words, and the
    // database is as before. The next one may be kept again: a disk gets room, a lock ends.
    std::optional<bool> keep(const kxapp::Upload& upload, std::string& fault);

  private:
    explicit Database(Connection connection);
    bool keep(const kxapp::Upload& upload);
    void insert_upload(const kxapp::Upload& upload, bool duplicate);
    void check_that_file_is_there();

    Connection m_connection;
    Statement m_insert_upload;
    Recorder m_recorder;
};

}  // namespace kxemgr

#endif  // KX_APPS_KXEMGR_DATABASE_H
