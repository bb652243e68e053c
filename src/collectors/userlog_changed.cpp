#include "collectors/userlog.h"
#include "common/log.h"

namespace {

constexpr char kLogTag[] = "kxepinfo";

bool IsEmpty(const _stUsrLogInfo& login) {
    return login.login_time.empty() && login.login_name.empty() && login.login_ip.empty();
}

}  // namespace

bool IsUsrLogInfoChanged(const _stUsrLogInfo& previous, const _stUsrLogInfo& current) {
    if (IsEmpty(current)) {
        return false;
    }
    if (previous.login_time == current.login_time && previous.login_name == current.login_name) {
        return false;
    }
    EP_LOG(kLogInformation, "user login information has changed\n");
    // The name is told up to its first zero byte.
    EP_LOG(kLogInformation, "username: %s, login time: %s\n", current.login_name.c_str(),
           current.login_time.c_str());
    return true;
}
