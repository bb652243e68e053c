// The least that keeping an upload costs when neither the end of the process nor of the machine may
// lose it.
#ifndef KXEPINFO_BENCH_MANAGER_BARE_DATABASE_H
#define KXEPINFO_BENCH_MANAGER_BARE_DATABASE_H

#include <sqlite3.h>

#include <string>

class BareDatabase {
  public:
    // A new file with one table. Ends the program when that fails, as every function here.
    explicit BareDatabase(const std::string& file);
    BareDatabase(const BareDatabase&) = delete;
    BareDatabase& operator=(const BareDatabase&) = delete;
    ~BareDatabase();

    // One row in a transaction of its own, on disk when this returns.
    void Keep(const std::string& upload);

  private:
    void Execute(const char* sql);

    sqlite3* connection_ = nullptr;
    sqlite3_stmt* insert_ = nullptr;
};

#endif  // KXEPINFO_BENCH_MANAGER_BARE_DATABASE_H
