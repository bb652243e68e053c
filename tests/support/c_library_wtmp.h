// The login record as the C library's own reader finds it, to compare with. That reader belongs to
// the whole process: one thread at a time.
#ifndef KXEPINFO_TESTS_SUPPORT_C_LIBRARY_WTMP_H
#define KXEPINFO_TESTS_SUPPORT_C_LIBRARY_WTMP_H

#include <utmp.h>

#include <ctime>

#include "common/records.h"

namespace kxtest {

// Reads the accounting file at `path` to its end. The entry that is handed out is overwritten by
// each one behind it, so the record is that of the file's last entry when a login was seen. Returns
// 0, or -1 with three empty strings.
inline int ReadWithTheCLibrary(const char* path, _stUsrLogInfo& out) {
    out = _stUsrLogInfo{};
    (void)utmpname(path);
    setutent();
    const utmp* login = nullptr;
    while (const utmp* entry = getutent()) {
        if (entry->ut_type == USER_PROCESS) {
            login = entry;
        }
    }
    endutent();
    if (login == nullptr) {
        return -1;
    }
    const std::time_t seconds = login->ut_tv.tv_sec;
    char text[32] = {};
    (void)std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", std::localtime(&seconds));
    out.login_time = text;
    out.login_name.assign(login->ut_user, sizeof login->ut_user);
    out.login_ip.assign(login->ut_host, sizeof login->ut_host);
    return 0;
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_C_LIBRARY_WTMP_H
