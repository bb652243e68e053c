// The console as the manager sees it: started, told of what happens, stopped.
#ifndef KX_APPS_KXEMGR_CONSOLE_CONSOLE_H
#define KX_APPS_KXEMGR_CONSOLE_CONSOLE_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "kxemgr/manager.h"

namespace kxemgr::console {

struct Settings {
    std::string listen;                   // "127.0.0.1:8627"; see address.h
    std::string token_file;               // empty: none, which only a loopback address allows
    std::vector<std::string> host_names;  // besides addresses and "localhost"
    std::uint64_t offline_after_s = 120;
    std::string database;  // the manager's file; empty: none, and then the console remembers itself
    std::string version;
};

// Belongs to the manager's thread. Everything that other threads of the console share with it is in
// four places, each with its own guard: Feed (a lock that is held to append), Counters (atomic),
// and either the database file (a write-ahead log) or MemoryStore (a lock that is held for a
// query).
class Console {
  public:
    // Listens when this returns. Null when that cannot be done; `fault` then tells why, in words.
    // The database, if any, has been opened by the manager before.
    static std::unique_ptr<Console> Start(const Settings& settings, std::string& fault);
    // Ends every conversation, and waits for its threads.
    ~Console();
    Console(const Console&) = delete;
    Console& operator=(const Console&) = delete;

    // Where it is found: "http://127.0.0.1:8627/".
    const std::string& url() const;

    // What the manager has to tell it; good while the console lives.
    Observer observer();

  private:
    struct Parts;
    explicit Console(std::unique_ptr<Parts> parts);
    void on_upload(const kxapp::Upload& upload, const bf_kxepinfo::epinfo_msg_respone& answer);

    std::unique_ptr<Parts> m_parts;
};

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_CONSOLE_H
