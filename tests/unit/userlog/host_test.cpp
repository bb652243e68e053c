// The process belongs to the host: nothing of it is borrowed.
#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>

#include "accounting_file.h"
#include "installation.h"
#include "open_files.h"

namespace fs = std::filesystem;

namespace {

// The host, in the middle of a file of its own with the C library's reader.
class HostReader {
  public:
    HostReader() {
        const std::vector<utmp> records = {Login("first"), Login("second"), Login("third")};
        (void)utmpname(kxtest::WriteFile("hosts-own", Bytes(records)).c_str());
        setutent();
    }
    ~HostReader() { endutent(); }
    HostReader(const HostReader&) = delete;
    HostReader& operator=(const HostReader&) = delete;

    static std::string Next() {
        const utmp* const entry = getutent();
        return entry == nullptr ? "" : entry->ut_user;
    }
};

}  // namespace

TEST_F(UserLog, LeavesTheReaderOfTheHostAlone) {
    LayDown({Login("alice")});
    const HostReader reader;
    EXPECT_EQ(reader.Next(), "first");
    EXPECT_EQ(UserOf(Collect()), "alice");
    EXPECT_EQ(reader.Next(), "second");
    EXPECT_EQ(reader.Next(), "third");
    EXPECT_EQ(reader.Next(), "");
}

// Somebody who locks the file and stops there holds nobody up.
TEST_F(UserLog, IsReadWhileTheFileIsLocked) {
    LayDown({Login("alice")});
    const int descriptor = open(AccountingPath().c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_GE(descriptor, 0);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(descriptor, F_OFD_SETLK, &lock), 0);
    EXPECT_EQ(UserOf(Collect()), "alice");
    (void)close(descriptor);
}

TEST_F(UserLog, LeavesNoDescriptorBehind) {
    LayDown({Login("alice")});
    const auto before = kxtest::OpenDescriptors();
    (void)Collect();
    LayDown({});
    (void)Collect(-1);
    EXPECT_EQ(kxtest::OpenDescriptors(), before);
}
