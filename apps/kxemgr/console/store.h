// Where the console reads what is known of the agents.
#ifndef KX_APPS_KXEMGR_CONSOLE_STORE_H
#define KX_APPS_KXEMGR_CONSOLE_STORE_H

#include <cstddef>
#include <functional>
#include <mutex>
#include <string>

#include "kxemgr/recorder.h"
#include "kxemgr/sqlite.h"

namespace kxemgr::console {

// May be read from any thread, by several at a time.
class Store {
  public:
    using Query = std::function<void(sqlite3& connection)>;

    virtual ~Store() = default;
    // Runs a query on a connection that no other thread has meanwhile. What the query throws passes
    // through; SqliteError when there is no connection.
    virtual void read(const Query& query) = 0;
};

// The manager's database. Each read has a connection of its own: in a write-ahead log readers and
// the manager, which writes, do not wait for each other, and threads share nothing.
class FileStore : public Store {
  public:
    explicit FileStore(const std::string& file);
    void read(const Query& query) override;

  private:
    std::string m_file;  // absolute
};

// The same tables in memory, without the uploads themselves, for a manager without a database. One
// connection, which one thread has at a time: the manager waits for a query that runs, which is
// short since there is not much to look at.
class MemoryStore : public Store {
  public:
    // More rows are forgotten, the oldest first, at every kTrimEvery-th upload; and everything when
    // all together need more than kMostBytes.
    static constexpr int kMostAgents = 1024;
    static constexpr int kMostSamples = 200'000;
    static constexpr int kMostChanges = 20'000;
    static constexpr int kMostClones = 1000;
    static constexpr std::int64_t kMostBytes = std::int64_t{128} * 1024 * 1024;
    static constexpr unsigned kTrimEvery = 256;

    explicit MemoryStore(std::int64_t most_bytes = kMostBytes);

    // Takes an upload in, from any thread. Throws SqliteError for one that is too large by itself.
    void record(const kxapp::Upload& upload);
    void read(const Query& query) override;

  private:
    void record_in_transaction(const kxapp::Upload& upload);
    void trim();
    void forget_everything();

    std::mutex m_mutex;  // guards all below
    Connection m_connection;
    Recorder m_recorder;
    unsigned m_recorded = 0;
};

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_STORE_H
