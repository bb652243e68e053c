// The login accounting file that a test lays down, and the trouble that reading it can have.
#ifndef KXEPINFO_TESTS_UNIT_USERLOG_ACCOUNTING_FILE_H
#define KXEPINFO_TESTS_UNIT_USERLOG_ACCOUNTING_FILE_H

#include <gmock/gmock.h>
#include <sys/types.h>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "common/records.h"
#include "records.h"

struct AccountingFile {
    std::vector<std::string> opened;  // paths, in order
    int open_error = 0;               // errno of a file that cannot be opened

    // When set, answers each reading of `size` bytes at `offset`: how many of them are to be read,
    // or a negated errno.
    std::function<ssize_t(std::size_t size, off_t offset)> read;
};

AccountingFile& Accounting();

// Where the file is while a test runs.
std::filesystem::path AccountingPath();

// Replaces it.
void LayDown(const std::vector<utmp>& records, const std::string& torn = "");

// What GetLogUsrInfo gives, into a record that held something else.
_stUsrLogInfo Collect(int expected_result = 0);

void ExpectNone(const _stUsrLogInfo& login);

// The user's name up to its zero bytes.
std::string UserOf(const _stUsrLogInfo& login);

// Starts each test without a file, with an empty log, in UTC.
class UserLog : public ::testing::Test {
  protected:
    void SetUp() override;
};

#endif  // KXEPINFO_TESTS_UNIT_USERLOG_ACCOUNTING_FILE_H
