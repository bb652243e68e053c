// Entries of the login accounting file.
#ifndef KXEPINFO_TESTS_SUPPORT_WTMP_FILE_H
#define KXEPINFO_TESTS_SUPPORT_WTMP_FILE_H

#include <utmp.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace kxtest {

inline std::string WtmpEntry(short type, std::string_view user, std::string_view host,
                             int32_t seconds) {
    utmp entry = {};
    entry.ut_type = type;
    std::memcpy(entry.ut_user, user.data(), std::min(user.size(), sizeof entry.ut_user));
    std::memcpy(entry.ut_host, host.data(), std::min(host.size(), sizeof entry.ut_host));
    entry.ut_tv.tv_sec = seconds;
    return {reinterpret_cast<const char*>(&entry), sizeof entry};
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_WTMP_FILE_H
