// Where in the file the login may be, and what files of every size cost.
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

TEST_F(UserLog, ReadsAFileWithoutLoginsOnce) {
    EXPECT_EQ(BytesRead(Logouts(1000), -1), 1000 * sizeof(utmp));
}
