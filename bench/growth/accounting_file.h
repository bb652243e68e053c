// A login accounting file of any size.
#ifndef KXEPINFO_BENCH_GROWTH_ACCOUNTING_FILE_H
#define KXEPINFO_BENCH_GROWTH_ACCOUNTING_FILE_H

#include <string>

class AccountingFile {
  public:
    // Writes that many records into the installation: logins and logouts by turns, or logouts
    // alone. Ends the program when that fails.
    AccountingFile(long records, bool with_logins);
    AccountingFile(const AccountingFile&) = delete;
    AccountingFile& operator=(const AccountingFile&) = delete;

    // Removes the file.
    ~AccountingFile();

    // From now on it is the file that the module reads.
    void Present() const;

    const std::string& path() const { return path_; }

  private:
    std::string path_;
};

#endif  // KXEPINFO_BENCH_GROWTH_ACCOUNTING_FILE_H
