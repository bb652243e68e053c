// The accounting file at its own place: in a /var/log that only this process sees.
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "collectors/userlog.h"
#include "log_capture.h"
#include "records.h"
#include "tiny_disk.h"

using testing::IsEmpty;

namespace {

constexpr char kPath[] = "/var/log/wtmp";

class UserLogOnThisMachine : public ::testing::Test {
  protected:
    void SetUp() override {
        kxtest::ClearLog();
        if (!disk_.IsMounted()) {
            GTEST_SKIP() << "no right to mount";
        }
    }

    static void LayDown(const std::vector<utmp>& records) {
        const std::string bytes = Bytes(records);
        std::ofstream(kPath, std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

    static void ExpectNone() {
        _stUsrLogInfo login{.login_time = "old", .login_name = "old", .login_ip = "old"};
        EXPECT_EQ(GetLogUsrInfo(login), -1);
        EXPECT_EQ(login.login_time + login.login_name + login.login_ip, "");
        EXPECT_THAT(kxtest::LoggedLines(), IsEmpty());
    }

  private:
    kxtest::TinyDisk disk_{"/var/log", 64};
};

}  // namespace

TEST_F(UserLogOnThisMachine, IsRead) {
    LayDown({Login("alice"), Login("bob", "10.0.0.2")});
    _stUsrLogInfo login;
    EXPECT_EQ(GetLogUsrInfo(login), 0);
    EXPECT_EQ(login.login_name, Padded("bob", 32));
    EXPECT_EQ(login.login_ip, Padded("10.0.0.2", 256));
    EXPECT_EQ(login.login_time.size(), 19U);
}

TEST_F(UserLogOnThisMachine, IsNoneWithoutAFile) {
    ExpectNone();
}

TEST_F(UserLogOnThisMachine, IsNoneWithADirectoryInItsPlace) {
    ASSERT_EQ(mkdir(kPath, 0755), 0);
    ExpectNone();
}

TEST_F(UserLogOnThisMachine, IsNoneWithAPipeInItsPlaceAndWaitsForNobody) {
    ASSERT_EQ(mkfifo(kPath, 0644), 0);
    ExpectNone();
}

TEST_F(UserLogOnThisMachine, IsNoneWithADeviceInItsPlace) {
    ASSERT_EQ(symlink("/dev/zero", kPath), 0);
    ExpectNone();
}
