// Which entry of the file is told, and how.
#include "collectors/userlog.h"

#include "accounting_file.h"
#include "log_capture.h"

using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(UserLog, ReadsTheAccountingFileOnce) {
    LayDown({Login("alice")});
    (void)Collect();
    EXPECT_THAT(Accounting().opened, ElementsAre("/var/log/wtmp"));
}

TEST_F(UserLog, TellsTheLaterOfTwoLogins) {
    LayDown({Login("alice", "10.0.0.1", kNewYear), Login("bob", "10.0.0.2", kNewYear + 61)});
    const _stUsrLogInfo login = Collect();
    EXPECT_EQ(login.login_name, Padded("bob", 32));
    EXPECT_EQ(login.login_ip, Padded("10.0.0.2", 256));
    EXPECT_EQ(login.login_time, "2024-01-01 00:01:01");
}

// The last entry of the file is what is told, whatever it is; a login somewhere before is enough.
TEST_F(UserLog, TellsTheLogoutBehindALogin) {
    LayDown({Login("alice", "10.0.0.1", kNewYear), Logout(kNewYear + 3600)});
    const _stUsrLogInfo login = Collect();
    EXPECT_EQ(login.login_name, std::string(32, '\0'));
    EXPECT_EQ(login.login_ip, std::string(256, '\0'));
    EXPECT_EQ(login.login_time, "2024-01-01 01:00:00");
}

TEST_F(UserLog, TellsTheRestartBehindALogin) {
    LayDown({Login("alice"), Record(BOOT_TIME, "reboot", "6.1.0-18-amd64", kNewYear + 1)});
    const _stUsrLogInfo login = Collect();
    EXPECT_EQ(login.login_name, Padded("reboot", 32));
    EXPECT_EQ(login.login_ip, Padded("6.1.0-18-amd64", 256));
}

TEST_F(UserLog, TellsTheEmptyEntryBehindALogin) {
    LayDown({Login("alice"), Record(EMPTY, "", "", 0)});
    const _stUsrLogInfo login = Collect();
    EXPECT_EQ(login.login_name, std::string(32, '\0'));
    EXPECT_EQ(login.login_time, "1970-01-01 00:00:00");
}

TEST_F(UserLog, TellsTheLoginBehindOtherEntries) {
    LayDown({Record(BOOT_TIME, "reboot", "", 1), Record(RUN_LVL, "runlevel", "", 2), Login("bob")});
    EXPECT_EQ(Collect().login_name, Padded("bob", 32));
}

TEST_F(UserLog, FindsNoneAmongOtherEntries) {
    LayDown({Record(BOOT_TIME, "reboot", "6.1.0", 1), Logout(2),
             Record(RUN_LVL, "runlevel", "6.1.0", 3)});
    ExpectNone(Collect(-1));
    EXPECT_THAT(LoggedLines(), IsEmpty());
}

TEST_F(UserLog, TakesNoOtherTypeForALogin) {
    for (const int type : {0, 1, 2, 3, 4, 5, 6, 8, 9, 10, -7, 0x700, 0x107}) {
        LayDown({Record(type, "alice", "", kNewYear)});
        ExpectNone(Collect(-1));
    }
}

TEST_F(UserLog, FillsTheNameWithZeroBytes) {
    LayDown({Login("alice")});
    const std::string name = Collect().login_name;
    ASSERT_EQ(name.size(), 32U);
    EXPECT_EQ(name.substr(0, 5), "alice");
    EXPECT_EQ(name.substr(5), std::string(27, '\0'));
}

TEST_F(UserLog, KeepsWhatStandsBehindAZeroByte) {
    const std::string name("ab\0cd", 5);
    const std::string host("h\0\xff", 3);
    LayDown({Login(name, host)});
    const _stUsrLogInfo login = Collect();
    EXPECT_EQ(login.login_name, Padded(name, 32));
    EXPECT_EQ(login.login_ip, Padded(host, 256));
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "extinfo", "user = ab"}));
}

TEST_F(UserLog, ReadsNoFurtherThanANameWithoutZeroByte) {
    const std::string name(32, 'n');
    const std::string host(256, 'h');
    LayDown({Login(name, host)});
    const _stUsrLogInfo login = Collect();
    EXPECT_EQ(login.login_name, name);
    EXPECT_EQ(login.login_ip, host);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "extinfo", "user = " + name}));
}

TEST_F(UserLog, LogsTheUser) {
    LayDown({Login("alice")});
    (void)Collect();
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "extinfo", "user = alice"}));
}

TEST_F(UserLog, LogsTheEmptyUserOfALogout) {
    LayDown({Login("alice"), Logout()});
    (void)Collect();
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{4, "extinfo", "user = "}));
}

TEST_F(UserLog, IsCollectedTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(3);
    LayDown({Login("alice")});
    EXPECT_EQ(UserOf(Collect()), "alice");
    EXPECT_EQ(kxtest::LogCalls(), 0);
}

TEST_F(UserLog, FollowsTheFileFromCallToCall) {
    LayDown({Login("alice")});
    EXPECT_EQ(UserOf(Collect()), "alice");
    LayDown({Login("alice"), Login("bob")});
    EXPECT_EQ(UserOf(Collect()), "bob");
    LayDown({});
    ExpectNone(Collect(-1));
}
