#include "accounting_file.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "collectors/procfile.h"
#include "collectors/userlog.h"
#include "installation.h"
#include "log_capture.h"

AccountingFile& Accounting() {
    static AccountingFile file;
    return file;
}

std::filesystem::path AccountingPath() {
    return kxtest::InstallationRoot() / "wtmp";
}

void LayDown(const std::vector<utmp>& records, const std::string& torn) {
    kxtest::WriteFile("wtmp", Bytes(records) + torn);
}

_stUsrLogInfo Collect(int expected_result) {
    _stUsrLogInfo login{.login_time = "old", .login_name = "old", .login_ip = "old"};
    EXPECT_EQ(GetLogUsrInfo(login), expected_result);
    return login;
}

void ExpectNone(const _stUsrLogInfo& login) {
    EXPECT_EQ(login.login_time, "");
    EXPECT_EQ(login.login_name, "");
    EXPECT_EQ(login.login_ip, "");
}

std::string UserOf(const _stUsrLogInfo& login) {
    return login.login_name.c_str();
}

void UserLog::SetUp() {
    kxtest::ClearInstallation();
    kxtest::ClearLog();
    Accounting() = AccountingFile{};
    (void)setenv("TZ", "UTC0", 1);
}

// In front of the reader that opens the real file.
File OpenForReading(const char* path) {
    Accounting().opened.emplace_back(path);
    if (Accounting().open_error != 0) {
        errno = Accounting().open_error;
        return nullptr;
    }
    return File(std::fopen(AccountingPath().c_str(), "re"));
}

namespace {

ssize_t Read(int descriptor, void* buffer, size_t size, off_t offset) {
    static const auto next =
        reinterpret_cast<ssize_t (*)(int, void*, size_t, off_t)>(dlsym(RTLD_NEXT, "pread"));
    if (Accounting().read) {
        const ssize_t answer = Accounting().read(size, offset);
        if (answer < 0) {
            errno = static_cast<int>(-answer);
            return -1;
        }
        size = static_cast<size_t>(answer);
    }
    return next(descriptor, buffer, size, offset);
}

}  // namespace

// In front of the C library's, under both names: a build with checked functions calls the second.
extern "C" ssize_t pread(int descriptor, void* buffer, size_t size, off_t offset) {
    return Read(descriptor, buffer, size, offset);
}

extern "C" ssize_t __pread_chk(int descriptor, void* buffer, size_t size, off_t offset,
                               size_t /*room*/) {
    return Read(descriptor, buffer, size, offset);
}
