#include "records.h"

utmp Record(int type, std::string_view user, std::string_view host, int32_t seconds) {
    utmp record = {};
    record.ut_type = static_cast<short>(type);
    (void)user.copy(record.ut_user, sizeof record.ut_user);
    (void)host.copy(record.ut_host, sizeof record.ut_host);
    record.ut_tv.tv_sec = seconds;
    return record;
}

std::string Bytes(const std::vector<utmp>& records) {
    return {reinterpret_cast<const char*>(records.data()), records.size() * sizeof(utmp)};
}

std::string Padded(std::string_view text, std::size_t width) {
    std::string field(text);
    field.resize(width);
    return field;
}
