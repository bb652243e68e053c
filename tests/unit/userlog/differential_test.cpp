// The same record as the C library's own reader gives, over files of all kinds of entries in any
// order, of many sizes, with any bytes in them and with torn ends.
#include <cstdlib>
#include <cstring>
#include <random>

#include "accounting_file.h"
#include "c_library_wtmp.h"
#include "installation.h"

namespace {

// The same seed gives the same file everywhere.
class Generator {
  public:
    explicit Generator(unsigned seed) : random_(seed) {}

    std::string Content() {
        logins_are_rare_ = Below(3) == 0;
        std::vector<utmp> records(Count());
        for (utmp& record : records) {
            record = AnyRecord();
        }
        return Bytes(records) + Garbage(Below(2) == 0 ? 0 : Below(sizeof(utmp)));
    }

  private:
    unsigned Below(unsigned limit) { return static_cast<unsigned>(random_() % limit); }

    // Few, or about as many as one block or several hold.
    unsigned Count() {
        switch (Below(4)) {
            case 0:
                return 60 + Below(10);
            case 1:
                return 120 + Below(80);
            default:
                return Below(6);
        }
    }

    std::string Garbage(unsigned size) {
        std::string bytes(size, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random_());
        }
        return bytes;
    }

    // Where logins are rare they are far from the end, or missing.
    int AnyType() {
        if (logins_are_rare_ && Below(100) != 0) {
            return Below(2) == 0 ? DEAD_PROCESS : BOOT_TIME;
        }
        return Below(20) == 0 ? static_cast<short>(random_()) : static_cast<int>(Below(10));
    }

    utmp AnyRecord() {
        if (Below(10) == 0) {
            utmp record = {};
            (void)std::memcpy(&record, Garbage(sizeof record).data(), sizeof record);
            return record;
        }
        const int type = AnyType();
        const std::string user = Garbage(Below(33));
        return Record(type, user, Garbage(Below(257)), static_cast<int32_t>(random_()));
    }

    std::mt19937 random_;
    bool logins_are_rare_ = false;
};

// Returns whether there was a login.
bool ExpectTheSame() {
    _stUsrLogInfo expected;
    const int result = kxtest::ReadWithTheCLibrary(AccountingPath().c_str(), expected);
    const _stUsrLogInfo login = Collect(result);
    EXPECT_EQ(login.login_time, expected.login_time);
    EXPECT_EQ(login.login_name, expected.login_name);
    EXPECT_EQ(login.login_ip, expected.login_ip);
    return result == 0;
}

}  // namespace

TEST_F(UserLog, EqualsThatOfTheCLibraryOverGeneratedFiles) {
    int with_login = 0;
    for (unsigned seed = 1; seed <= 600 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        kxtest::WriteFile("wtmp", Generator(seed).Content());
        with_login += ExpectTheSame() ? 1 : 0;
    }
    // Neither kind of file is missing.
    EXPECT_GT(with_login, 100);
    EXPECT_LT(with_login, 500);
}

TEST_F(UserLog, EqualsThatOfTheCLibraryAtEveryTornSize) {
    const std::string record = Bytes({Login("mallory", "10.6.6.6", 1)});
    for (std::size_t size = 0; size < sizeof(utmp) && !HasFailure(); ++size) {
        SCOPED_TRACE(size);
        const std::string torn = record.substr(0, size);
        LayDown({Login("alice", "10.0.0.1"), Logout(kNewYear + 1)}, torn);
        EXPECT_TRUE(ExpectTheSame());
        LayDown({Logout()}, torn);
        EXPECT_FALSE(ExpectTheSame());
        LayDown({}, torn);
        EXPECT_FALSE(ExpectTheSame());
    }
}

TEST_F(UserLog, EqualsThatOfTheCLibraryForEveryType) {
    for (int type = -1; type <= 12; ++type) {
        SCOPED_TRACE(type);
        const utmp record = Record(type, "alice", "10.0.0.1", kNewYear + 1);
        LayDown({record});
        EXPECT_EQ(ExpectTheSame(), type == USER_PROCESS);
        LayDown({Login("bob"), record});
        EXPECT_TRUE(ExpectTheSame());
        LayDown({record, Login("bob")});
        EXPECT_TRUE(ExpectTheSame());
    }
}

TEST_F(UserLog, EqualsThatOfTheCLibraryInEveryTimeZone) {
    for (const char* const zone : {"UTC0", "ABC12", "ABC-14", "CET-1CEST,M3.5.0,M10.5.0/3",
                                   "XYZ-05:45:30", "Europe/Dublin", "nonsense", ""}) {
        SCOPED_TRACE(zone);
        (void)setenv("TZ", zone, 1);
        for (const int32_t seconds : {INT32_MIN, -1, 0, kNewYear, 1719792000, INT32_MAX}) {
            LayDown({Login("alice", "", seconds)});
            EXPECT_TRUE(ExpectTheSame());
        }
    }
    (void)unsetenv("TZ");
    EXPECT_TRUE(ExpectTheSame());
}

TEST_F(UserLog, EqualsThatOfTheCLibraryWithoutAFile) {
    EXPECT_FALSE(ExpectTheSame());
}
