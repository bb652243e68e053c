#include "login_file.h"

#include <fcntl.h>
#include <sys/types.h>
#include <utmp.h>

#include <cstdarg>
#include <cstring>
#include <fstream>

#include "report.h"

namespace {

constexpr int kRecords = 1000;
constexpr char kMachinesOwn[] = "/var/log/wtmp";

std::string& LaidDown() {
    static std::string path;
    return path;
}

utmp Login() {
    utmp record{};
    record.ut_type = USER_PROCESS;
    record.ut_tv.tv_sec = 1700000000;
    std::strcpy(record.ut_user, "somebody");
    std::strcpy(record.ut_host, "192.0.2.1");
    return record;
}

}  // namespace

void LayDownLogins(const std::string& path) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    const utmp record = Login();
    for (int i = 0; i < kRecords; ++i) {
        file.write(reinterpret_cast<const char*>(&record), sizeof record);
    }
    if (!file.flush()) {
        kxbench::Fail("cannot write " + path);
    }
    LaidDown() = path;
}

// In front of the C library's.
extern "C" int open(const char* path, int flags, ...) {
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    const bool is_login_file = std::strcmp(path, kMachinesOwn) == 0;
    return openat(AT_FDCWD, is_login_file ? LaidDown().c_str() : path, flags, mode);
}
