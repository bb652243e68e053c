#include <gmock/gmock.h>

#include "collectors/userlog.h"
#include "log_capture.h"
#include "records.h"

using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const _stUsrLogInfo kAlice{.login_time = "2024-01-01 00:00:00",
                           .login_name = Padded("alice", 32),
                           .login_ip = Padded("10.0.0.1", 256)};
const _stUsrLogInfo kNobody;

class UserLogChange : public ::testing::Test {
  protected:
    void SetUp() override { kxtest::ClearLog(); }

    static void ExpectChange(const _stUsrLogInfo& previous, const _stUsrLogInfo& current,
                             const std::string& told) {
        EXPECT_TRUE(IsUsrLogInfoChanged(previous, current));
        EXPECT_THAT(LoggedLines(),
                    ElementsAre(LogLine{3, "kxepinfo", "user login information has changed\n"},
                                LogLine{3, "kxepinfo", told}));
    }

    static void ExpectNoChange(const _stUsrLogInfo& previous, const _stUsrLogInfo& current) {
        EXPECT_FALSE(IsUsrLogInfoChanged(previous, current));
        EXPECT_THAT(LoggedLines(), IsEmpty());
    }
};

}  // namespace

TEST_F(UserLogChange, IsNoneBetweenEqualRecords) {
    ExpectNoChange(kAlice, kAlice);
}

TEST_F(UserLogChange, IsTheFirstLogin) {
    ExpectChange(kNobody, kAlice, "username: alice, login time: 2024-01-01 00:00:00\n");
}

TEST_F(UserLogChange, IsAnotherTime) {
    _stUsrLogInfo later = kAlice;
    later.login_time = "2024-01-01 00:00:01";
    ExpectChange(kAlice, later, "username: alice, login time: 2024-01-01 00:00:01\n");
}

TEST_F(UserLogChange, IsAnotherNameAtTheSameTime) {
    _stUsrLogInfo other = kAlice;
    other.login_name = Padded("bob", 32);
    ExpectChange(kAlice, other, "username: bob, login time: 2024-01-01 00:00:00\n");
}

// The same user at the same second from another host is taken for the same login.
TEST_F(UserLogChange, IsNotAnotherHost) {
    _stUsrLogInfo other = kAlice;
    other.login_ip = Padded("10.0.0.2", 256);
    ExpectNoChange(kAlice, other);
}

// The absence of a login is nothing to report.
TEST_F(UserLogChange, IsNotTheAbsenceOfALogin) {
    ExpectNoChange(kAlice, kNobody);
    ExpectNoChange(kNobody, kNobody);
}

TEST_F(UserLogChange, IsTheLogoutBehindALogin) {
    const _stUsrLogInfo logout{.login_time = "2024-01-01 01:00:00",
                               .login_name = std::string(32, '\0'),
                               .login_ip = std::string(256, '\0')};
    ExpectChange(kAlice, logout, "username: , login time: 2024-01-01 01:00:00\n");
}

TEST_F(UserLogChange, LooksBehindTheZeroBytesOfAName) {
    _stUsrLogInfo other = kAlice;
    other.login_name.back() = 'x';
    ExpectChange(kAlice, other, "username: alice, login time: 2024-01-01 00:00:00\n");
}

TEST_F(UserLogChange, LooksAtTheLengthOfAName) {
    _stUsrLogInfo shorter = kAlice;
    shorter.login_name = "alice";
    ExpectChange(kAlice, shorter, "username: alice, login time: 2024-01-01 00:00:00\n");
}

// Only when all three strings are empty there is no login.
TEST_F(UserLogChange, IsFoundWithOneStringThatIsNotEmpty) {
    const _stUsrLogInfo host_alone{.login_time = "", .login_name = "", .login_ip = "10.0.0.1"};
    ExpectChange(kAlice, host_alone, "username: , login time: \n");
}

TEST_F(UserLogChange, IsFoundTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(2);
    EXPECT_TRUE(IsUsrLogInfoChanged(kNobody, kAlice));
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
