// Where in the file the login may be, and what files of every size cost.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "accounting_file.h"

namespace {

// That many logouts, at the seconds 1, 2, 3 and so on.
std::vector<utmp> Logouts(int count) {
    std::vector<utmp> records;
    for (int second = 1; second <= count; ++second) {
        records.push_back(Logout(second));
    }
    return records;
}

// How many bytes are read of a file with these records.
std::size_t BytesRead(const std::vector<utmp>& records, int expected_result) {
    LayDown(records);
    std::size_t bytes = 0;
    Accounting().read = [&](std::size_t size, off_t) {
        bytes += size;
        return static_cast<ssize_t>(size);
    };
    (void)Collect(expected_result);
    return bytes;
}

}  // namespace

TEST_F(UserLog, OfAnEmptyFileIsNone) {
    LayDown({});
    ExpectNone(Collect(-1));
}

TEST_F(UserLog, OfLessThanARecordIsNone) {
    for (const std::size_t size : {1, 44, 383}) {
        LayDown({}, Bytes({Login("alice")}).substr(0, size));
        ExpectNone(Collect(-1));
    }
}

TEST_F(UserLog, LeavesATornRecordOut) {
    const std::string torn = Bytes({Login("mallory")});
    for (const std::size_t size : {1, 2, 43, 76, 340, 383}) {
        LayDown({Login("alice"), Login("bob")}, torn.substr(0, size));
        EXPECT_EQ(UserOf(Collect()), "bob") << size;
    }
}

TEST_F(UserLog, DoesNotTakeATornLoginForOne) {
    LayDown({Logout()}, Bytes({Login("mallory")}).substr(0, 383));
    ExpectNone(Collect(-1));
}

// The file is read in blocks of 64 records from its end; these are places around their borders.
TEST_F(UserLog, FindsALoginAnywhereInAFile) {
    for (const std::size_t place : {0, 1, 7, 8, 9, 71, 72, 73, 135, 136, 137, 198, 199}) {
        std::vector<utmp> records = Logouts(200);
        records[place].ut_type = USER_PROCESS;
        LayDown(records);
        EXPECT_EQ(Collect().login_time, "1970-01-01 00:03:20") << place;
    }
}

TEST_F(UserLog, TellsTheLastEntryOfFilesAroundTheSizeOfABlock) {
    for (const int size : {1, 2, 63, 64, 65, 127, 128, 129}) {
        std::vector<utmp> records = Logouts(size);
        records.front().ut_type = USER_PROCESS;
        records.back().ut_tv.tv_sec = 59;
        LayDown(records);
        EXPECT_EQ(Collect().login_time, "1970-01-01 00:00:59") << size;
    }
}

TEST_F(UserLog, FindsNoneInAFileOfSeveralBlocks) {
    LayDown(Logouts(200));
    ExpectNone(Collect(-1));
}

TEST_F(UserLog, CostsTheSameWhateverTheSizeOfTheUsualFile) {
    const std::size_t bytes = BytesRead(std::vector<utmp>(100, Login("alice")), 0);
    EXPECT_GT(bytes, 0U);
    EXPECT_EQ(BytesRead(std::vector<utmp>(5000, Login("alice")), 0), bytes);
}

// Read byte for byte, it would take minutes in each cycle.
class SparseUserLog : public UserLog {
  protected:
    static constexpr off_t kTebibyte = off_t{1} << 40U;

    void SetUp() override {
        UserLog::SetUp();
        LayDown({});
        Grow();
        const int file = open(AccountingPath().c_str(), O_RDONLY | O_CLOEXEC);
        const bool tells = lseek(file, 0, SEEK_DATA) < 0 && errno == ENXIO;
        (void)close(file);
        if (!tells) {
            GTEST_SKIP() << "the file system does not tell holes";
        }
    }

    // Appends a hole up to that size.
    static void Grow(off_t size = kTebibyte) {
        ASSERT_EQ(truncate(AccountingPath().c_str(), size), 0) << errno;
    }

    // Writes a record, whose place is counted from the file's begin.
    static void Put(const utmp& record, off_t place) {
        const int file = open(AccountingPath().c_str(), O_WRONLY | O_CLOEXEC);
        EXPECT_EQ(pwrite(file, &record, sizeof record, place * ssize_t{sizeof record}),
                  ssize_t{sizeof record});
        (void)close(file);
    }
};

TEST_F(SparseUserLog, OfAFileThatIsAllHoleIsNone) {
    ExpectNone(Collect(-1));
}

TEST_F(SparseUserLog, IsTheEmptyEntryAtTheEndOfAHoleBehindALogin) {
    Put(Login("alice"), 0);
    EXPECT_EQ(Collect().login_name, std::string(32, '\0'));
    EXPECT_EQ(Collect().login_time, "1970-01-01 00:00:00");
}

TEST_F(SparseUserLog, IsFoundBetweenHoles) {
    for (const off_t place : {1, 10, 11, 63, 64, 1000, 1000003, 2000000007}) {
        Grow(0);
        Grow(kTebibyte);
        ExpectNone(Collect(-1));
        Put(Login("alice"), place);
        EXPECT_EQ(Collect().login_time, "1970-01-01 00:00:00") << place;
        Grow((place + 1) * ssize_t{sizeof(utmp)});
        EXPECT_EQ(UserOf(Collect()), "alice") << place;
    }
}

TEST_F(SparseUserLog, IsFoundBehindHolesAndOtherEntries) {
    Put(Login("alice"), 1000);
    for (off_t place = 100000; place < 2000000000; place *= 3) {
        Put(Logout(), place);
    }
    EXPECT_EQ(Collect().login_time, "1970-01-01 00:00:00");
}

TEST_F(UserLog, ReadsAFileWithoutLoginsOnce) {
    EXPECT_EQ(BytesRead(Logouts(1000), -1), 1000 * sizeof(utmp));
}
