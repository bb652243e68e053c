// A login accounting file of any size.
#ifndef KXEPINFO_BENCH_WTMP_ACCOUNTING_FILE_H
#define KXEPINFO_BENCH_WTMP_ACCOUNTING_FILE_H

#include <string>

class AccountingFile {
  public:
    // Writes that many records beside this program: logins and logouts by turns, or logouts alone.
    // While the object lives it is the file that the module reads. Ends the program when it cannot
    // be written.
    AccountingFile(long records, bool with_logins);
    AccountingFile(const AccountingFile&) = delete;
    AccountingFile& operator=(const AccountingFile&) = delete;
    ~AccountingFile();

    const char* path() const;
};

#endif  // KXEPINFO_BENCH_WTMP_ACCOUNTING_FILE_H
