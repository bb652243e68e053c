// Files that cannot be read, and files that change while they are read.
#include <algorithm>
#include <cerrno>
#include <filesystem>

#include "accounting_file.h"
#include "log_capture.h"

namespace fs = std::filesystem;
using testing::IsEmpty;

TEST_F(UserLog, OfAMissingFileIsNone) {
    ExpectNone(Collect(-1));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(UserLog, OfAnUnreadableFileIsNone) {
    LayDown({Login("alice")});
    Accounting().open_error = EACCES;
    ExpectNone(Collect(-1));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(UserLog, OfADirectoryIsNone) {
    fs::create_directory(AccountingPath());
    ExpectNone(Collect(-1));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(UserLog, OfAFileThatFailsIsNone) {
    LayDown({Login("alice")});
    Accounting().read = [](std::size_t, off_t) { return -EIO; };
    ExpectNone(Collect(-1));
    EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
}

TEST_F(UserLog, OfAFileThatFailsFurtherUpIsNone) {
    LayDown(std::vector<utmp>(100, Logout()));
    Accounting().read = [](std::size_t size, off_t offset) {
        return offset == 0 ? -EIO : static_cast<ssize_t>(size);
    };
    ExpectNone(Collect(-1));
}

TEST_F(UserLog, GoesOnAfterAnInterruption) {
    LayDown({Login("alice")});
    int interruptions = 3;
    Accounting().read = [&](std::size_t size, off_t) {
        return interruptions-- > 0 ? -EINTR : static_cast<ssize_t>(size);
    };
    EXPECT_EQ(UserOf(Collect()), "alice");
    EXPECT_LT(interruptions, 0);
}

TEST_F(UserLog, IsPutTogetherFromShortReads) {
    std::vector<utmp> records(70, Logout());
    records.front() = Login("alice");
    records.back() = Record(BOOT_TIME, "reboot", "6.1.0", kNewYear);
    LayDown(records);
    Accounting().read = [](std::size_t size, off_t) {
        return static_cast<ssize_t>(std::min<std::size_t>(size, 100));
    };
    const _stUsrLogInfo login = Collect();
    EXPECT_EQ(login.login_name, Padded("reboot", 32));
    EXPECT_EQ(login.login_ip, Padded("6.1.0", 256));
    EXPECT_EQ(login.login_time, "2024-01-01 00:00:00");
}

// As after a rotation that copies the file and cuts it.
TEST_F(UserLog, OfAFileThatIsCutMeanwhileIsNone) {
    LayDown({Login("alice"), Login("bob")});
    Accounting().read = [](std::size_t size, off_t) {
        fs::resize_file(AccountingPath(), sizeof(utmp) + 100);
        return static_cast<ssize_t>(size);
    };
    ExpectNone(Collect(-1));
}

TEST_F(UserLog, OfAFileThatIsEmptiedMeanwhileIsNone) {
    LayDown(std::vector<utmp>(100, Logout()));
    Accounting().read = [](std::size_t size, off_t offset) {
        if (offset == 0) {
            fs::resize_file(AccountingPath(), 0);
        }
        return static_cast<ssize_t>(size);
    };
    ExpectNone(Collect(-1));
}

TEST_F(UserLog, DoesNotSeeWhatIsAppendedMeanwhile) {
    LayDown({Login("alice")});
    Accounting().read = [](std::size_t size, off_t) {
        LayDown({Login("alice"), Login("bob")});
        return static_cast<ssize_t>(size);
    };
    EXPECT_EQ(UserOf(Collect()), "alice");
    EXPECT_EQ(UserOf(Collect()), "bob");
}

TEST_F(UserLog, IsThatOfTheOpenedFileWhenItIsReplacedMeanwhile) {
    LayDown({Login("alice")});
    Accounting().read = [](std::size_t size, off_t) {
        fs::rename(AccountingPath(), AccountingPath().string() + ".1");
        LayDown({});
        return static_cast<ssize_t>(size);
    };
    EXPECT_EQ(UserOf(Collect()), "alice");
}
