// Where a save writes, and as whose.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <string>

#include "ini_families.h"
#include "tiny_disk.h"

namespace fs = std::filesystem;

namespace {

class IniSave : public IniTest {
  protected:
    // An empty directory for the file, so that leftovers show.
    void SetUp() override {
        IniTest::SetUp();
        directory_ = kxtest::InstallationRoot() / "config";
        fs::create_directory(directory_);
    }
    fs::path File(const char* text) { return kxtest::WriteFile("config/x.ini", text); }
    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(directory_)) {
            names.insert(entry.path().filename());
        }
        return names;
    }
    void ExpectRefused(const Ini& ini, const fs::path& path, int reason) {
        errno = 0;
        EXPECT_EQ(Save(ini, path), -1);
        EXPECT_EQ(errno, reason);
    }
    fs::path directory_;
};

struct stat Status(const fs::path& path) {
    struct stat status = {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status;
}

constexpr char kNew[] = "[a]\nx=2\n";

}  // namespace

TEST_P(IniSave, ReplacesTheFile) {
    const fs::path path = File("[a]\nx=1\n");
    const ino_t before = Status(path).st_ino;
    const Ini ini = Load(path);
    ASSERT_EQ(Set(ini, "a", "x", "2"), 0);
    EXPECT_EQ(Save(ini, path), 0);
    EXPECT_EQ(kxtest::ReadFile(path), kNew);
    EXPECT_NE(Status(path).st_ino, before);
    EXPECT_EQ(Names(), std::set<std::string>{"x.ini"});
}

TEST_P(IniSave, WritesAFileThatWasNotThere) {
    const Ini ini = Document(kNew);
    EXPECT_EQ(Save(ini, directory_ / "new.ini"), 0);
    EXPECT_EQ(kxtest::ReadFile(directory_ / "new.ini"), kNew);
    EXPECT_EQ(Names(), std::set<std::string>{"new.ini"});
}

TEST_P(IniSave, ANewFileFollowsTheUmask) {
    const Ini ini = Document(kNew);
    const mode_t before = umask(027);
    EXPECT_EQ(Save(ini, directory_ / "new.ini"), 0);
    umask(before);
    EXPECT_EQ(Status(directory_ / "new.ini").st_mode & 07777, 0640U);
}

TEST_P(IniSave, KeepsThePermissions) {
    for (const mode_t mode : {0600U, 0640U, 0664U, 0444U}) {
        const fs::path path = File("");
        ASSERT_EQ(chmod(path.c_str(), mode), 0);
        EXPECT_EQ(Save(Document(kNew), path), 0);
        EXPECT_EQ(Status(path).st_mode & 07777, mode);
        EXPECT_EQ(kxtest::ReadFile(path), kNew);
        fs::remove(path);
    }
}

TEST_P(IniSave, KeepsTheOwner) {
    const fs::path path = File("");
    if (chown(path.c_str(), 1234, 2345) != 0) {
        GTEST_SKIP() << "this user may not give files away";
    }
    EXPECT_EQ(Save(Document(kNew), path), 0);
    EXPECT_EQ(Status(path).st_uid, 1234U);
    EXPECT_EQ(Status(path).st_gid, 2345U);
}

TEST_P(IniSave, WhereTheGroupCannotBeKeptItsRightsAreThoseOfOthers) {
    const fs::path path = File("");
    if (chown(path.c_str(), 1234, 2345) != 0 || chmod(path.c_str(), 0664) != 0) {
        GTEST_SKIP() << "this user may not give files away";
    }
    ASSERT_EQ(chown(directory_.c_str(), 1234, 1234), 0);
    LetOthersIn();
    const Ini ini = Document(kNew);
    ASSERT_EQ(setegid(1234), 0);
    ASSERT_EQ(seteuid(1234), 0);
    const bool reached = faccessat(AT_FDCWD, directory_.c_str(), W_OK, AT_EACCESS) == 0;
    const int saved = Save(ini, path);
    ASSERT_EQ(seteuid(0), 0);
    ASSERT_EQ(setegid(0), 0);
    if (!reached) {
        GTEST_SKIP() << "other users cannot get to the directory of this build";
    }
    EXPECT_EQ(saved, 0);
    EXPECT_EQ(kxtest::ReadFile(path), kNew);
    EXPECT_EQ(Status(path).st_gid, 1234U);
    EXPECT_EQ(Status(path).st_mode & 07777, 0644U);
}

TEST_P(IniSave, WritesThroughASymbolicLink) {
    const fs::path path = File("");
    fs::create_directory(kxtest::InstallationRoot() / "etc");
    const fs::path link = kxtest::InstallationRoot() / "etc/link.ini";
    fs::create_symlink("second.ini", link);
    fs::create_symlink("../config/x.ini", link.parent_path() / "second.ini");
    EXPECT_EQ(Save(Document(kNew), link), 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_TRUE(fs::is_symlink(link.parent_path() / "second.ini"));
    EXPECT_EQ(kxtest::ReadFile(path), kNew);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(path)));
}

TEST_P(IniSave, WritesWhereASymbolicLinkLeadsToNothing) {
    const fs::path link = kxtest::InstallationRoot() / "link.ini";
    fs::create_symlink(directory_ / "new.ini", link);
    EXPECT_EQ(Save(Document(kNew), link), 0);
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(kxtest::ReadFile(directory_ / "new.ini"), kNew);
}

TEST_P(IniSave, RefusesACircleOfLinks) {
    const fs::path link = kxtest::InstallationRoot() / "link.ini";
    fs::create_symlink("link.ini", link);
    ExpectRefused(Document(kNew), link, ELOOP);
}

TEST_P(IniSave, WritesARelativePath) {
    const Ini ini = Document(kNew);
    const fs::path before = fs::current_path();
    fs::current_path(directory_);
    EXPECT_EQ(Save(ini, "new.ini"), 0);
    fs::current_path(before);
    EXPECT_EQ(kxtest::ReadFile(directory_ / "new.ini"), kNew);
}

TEST_P(IniSave, WritesUnderTheLongestName) {
    const fs::path path = directory_ / std::string(255, 'n');
    EXPECT_EQ(Save(Document(kNew), path), 0);
    EXPECT_EQ(Names(), std::set<std::string>{std::string(255, 'n')});
}

TEST_P(IniSave, RefusesAPlaceThatIsNoFile) {
    ExpectRefused(Document(kNew), directory_, EISDIR);
    ASSERT_EQ(mkfifo((directory_ / "pipe").c_str(), 0600), 0);
    ExpectRefused(Document(kNew), directory_ / "pipe", EINVAL);
    EXPECT_EQ(Names(), std::set<std::string>{"pipe"});
}

TEST_P(IniSave, RefusesADirectoryThatIsNotThere) {
    ExpectRefused(Document(kNew), directory_ / "none/x.ini", ENOENT);
    ExpectRefused(Document(kNew), File("") / "x.ini", ENOTDIR);
}

TEST_P(IniSave, RefusesADirectoryThatCannotBeWrittenTo) {
    ExpectRefused(Document(kNew), "/proc/self/x.ini", ENOENT);
}

TEST_P(IniSave, RefusesATextOverTheLimit) {
    const Ini ini = Document("[a]\nx=1\n");
    const fs::path path = File("before");
    ASSERT_EQ(Set(ini, "a", "x", std::string(std::size_t{4} << 20, 'y').c_str()), 0);
    ExpectRefused(ini, path, EFBIG);
    EXPECT_EQ(kxtest::ReadFile(path), "before");
    ASSERT_EQ(Set(ini, "a", "x", "2"), 0);
    EXPECT_EQ(Save(ini, path), 0);
}

TEST_P(IniSave, RefusesNullArguments) {
    const Ini ini = Document(kNew);
    errno = 0;
    EXPECT_EQ(GetParam().save(ini.get(), nullptr, 0), -1);
    EXPECT_EQ(errno, EINVAL);
    errno = 0;
    EXPECT_EQ(GetParam().save(nullptr, "x", 0), -1);
    EXPECT_EQ(errno, EINVAL);
}

TEST_P(IniSave, AFullDiskLeavesTheOldFile) {
    const kxtest::TinyDisk disk(directory_, 16);
    if (!disk.IsMounted()) {
        GTEST_SKIP() << "not permitted to mount";
    }
    const fs::path path = File("before");
    const Ini ini = Document("");
    ASSERT_EQ(Set(ini, "a", "x", std::string(20000, 'y').c_str()), 0);
    ExpectRefused(ini, path, ENOSPC);
    EXPECT_EQ(kxtest::ReadFile(path), "before");
    EXPECT_EQ(Names(), std::set<std::string>{"x.ini"});
    ASSERT_EQ(Set(ini, "a", "x", "2"), 0);
    EXPECT_EQ(Save(ini, path), 0);
    EXPECT_EQ(kxtest::ReadFile(path), kNew);
}

INI_TEST_SUITE(IniSave);
