#include "accounting_file.h"

#include <unistd.h>
#include <utmp.h>

#include <cstring>
#include <fstream>

#include "child.h"
#include "collectors/procfile.h"
#include "report.h"

namespace {

std::string path_of_presented;
int files = 0;  // made so far

}  // namespace

// In front of the reader that opens the real file.
File OpenForReading(const char* /*path*/) {
    return File(std::fopen(path_of_presented.c_str(), "re"));
}

AccountingFile::AccountingFile(long records, bool with_logins)
    : path_(kxbench::OwnInstallation() + "/var/wtmp." + std::to_string(++files)) {
    std::ofstream file(path_, std::ios::binary | std::ios::trunc);
    for (long i = 0; i < records; ++i) {
        const bool is_login = with_logins && i % 2 == 0;
        utmp record = {};
        record.ut_type = is_login ? USER_PROCESS : DEAD_PROCESS;
        record.ut_tv.tv_sec = static_cast<int32_t>(1700000000 + i);
        (void)std::strcpy(record.ut_line, "pts/0");
        if (is_login) {
            (void)std::strcpy(record.ut_user, "somebody");
            (void)std::strcpy(record.ut_host, "192.0.2.1");
        }
        file.write(reinterpret_cast<const char*>(&record), sizeof record);
    }
    file.close();
    if (!file) {
        (void)unlink(path_.c_str());
        kxbench::Fail("cannot write " + path_);
    }
}

AccountingFile::~AccountingFile() {
    (void)unlink(path_.c_str());
}

void AccountingFile::Present() const {
    path_of_presented = path_;
}
