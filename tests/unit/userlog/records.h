// Records of a login accounting file.
#ifndef KXEPINFO_TESTS_UNIT_USERLOG_RECORDS_H
#define KXEPINFO_TESTS_UNIT_USERLOG_RECORDS_H

#include <utmp.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// A record of that type. A text that fills its field is not closed by a zero byte.
utmp Record(int type, std::string_view user, std::string_view host, int32_t seconds);

// 00:00:00 of 2024-01-01, in UTC.
inline constexpr int32_t kNewYear = 1704067200;

inline utmp Login(std::string_view user, std::string_view host = "", int32_t seconds = kNewYear) {
    return Record(USER_PROCESS, user, host, seconds);
}

inline utmp Logout(int32_t seconds = kNewYear) {
    return Record(DEAD_PROCESS, "", "", seconds);
}

// The records as they lie in the file.
std::string Bytes(const std::vector<utmp>& records);

// Text in a field of that width.
std::string Padded(std::string_view text, std::size_t width);

#endif  // KXEPINFO_TESTS_UNIT_USERLOG_RECORDS_H
