#include "collectors/userlog.h"

#include <cstdio>
#include <ctime>
#include <optional>
#include <string>

#include "collectors/procfile.h"
#include "collectors/wtmp.h"
#include "common/log.h"

namespace {

constexpr char kLogTag[] = "extinfo";
constexpr char kAccountingFile[] = "/var/log/wtmp";

std::optional<utmp> ReadLastEntry() {
    const File file = OpenForReading(kAccountingFile);
    return file == nullptr ? std::nullopt : LastEntryWhenSomebodyLoggedIn(fileno(file.get()));
}

std::string LocalTime(std::time_t seconds) {
    tzset();  // so that a change of the time zone is seen: localtime_r alone looks for it once
    std::tm date = {};
    (void)localtime_r(&seconds, &date);  // every year of 32-bit seconds fits
    char text[32] = {};
    (void)std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &date);
    return text;
}

}  // namespace

int GetLogUsrInfo(_stUsrLogInfo& out) {
    out = _stUsrLogInfo{};
    const std::optional<utmp> entry = ReadLastEntry();
    if (!entry) {
        return -1;
    }
    out.login_name.assign(entry->ut_user, sizeof entry->ut_user);
    EP_LOG(kLogDebug, "user = %s", out.login_name.c_str());
    out.login_ip.assign(entry->ut_host, sizeof entry->ut_host);
    out.login_time = LocalTime(entry->ut_tv.tv_sec);  // signed: before 1970 is negative
    return 0;
}
