// Files that can and cannot be loaded.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "ini_families.h"
#include "open_files.h"

namespace {

constexpr std::size_t kMost = std::size_t{4} << 20;

class IniLoad : public IniTest {
  protected:
    static void ExpectRefused(const std::filesystem::path& path, int reason) {
        errno = 0;
        EXPECT_EQ(Load(path), nullptr);
        EXPECT_EQ(errno, reason);
    }
};

std::string OfSize(std::size_t size) {
    const std::string first = "[a]\nx=";
    return first + std::string(size - first.size(), 'y');
}

}  // namespace

TEST_P(IniLoad, AnEmptyFileIsAnEmptyDocument) {
    const Ini ini = Document("");
    ASSERT_NE(ini, nullptr);
    EXPECT_EQ(Get(ini, "a", "x"), std::nullopt);
    EXPECT_EQ(Saved(ini), "");
}

TEST_P(IniLoad, AMissingFileIsRefused) {
    ExpectRefused(kxtest::InstallationRoot() / "none.ini", ENOENT);
}

TEST_P(IniLoad, ADirectoryIsRefused) {
    ExpectRefused(kxtest::InstallationRoot(), EISDIR);
}

TEST_P(IniLoad, ANamedPipeIsRefusedWithoutWaiting) {
    const auto path = kxtest::InstallationRoot() / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    ExpectRefused(path, EINVAL);
}

TEST_P(IniLoad, ADeviceIsRefused) {
    ExpectRefused("/dev/zero", EINVAL);
}

TEST_P(IniLoad, AFileWithAZeroByteIsRefused) {
    ExpectRefused(kxtest::WriteFile("x.ini", std::string_view("[a]\nx=1\0\n", 9)), EINVAL);
}

TEST_P(IniLoad, AFileAtTheLimitIsLoaded) {
    const Ini ini = Load(kxtest::WriteFile("x.ini", OfSize(kMost)));
    ASSERT_NE(ini, nullptr);
    EXPECT_EQ(Get(ini, "a", "x"), std::string(kMost - 6, 'y'));
}

TEST_P(IniLoad, AFileOverTheLimitIsRefused) {
    ExpectRefused(kxtest::WriteFile("x.ini", OfSize(kMost + 1)), EFBIG);
}

TEST_P(IniLoad, AFileOfManyKeysIsLoaded) {
    std::string text = "[a]\n";
    for (int i = 0; i < 100000; ++i) {
        text += "k" + std::to_string(i) + "=" + std::to_string(i) + "\n";
    }
    EXPECT_EQ(Get(Document(text), "a", "k99999"), "99999");
}

TEST_P(IniLoad, NullIsRefused) {
    errno = 0;
    EXPECT_EQ(GetParam().load(nullptr), nullptr);
    EXPECT_EQ(errno, EINVAL);
}

TEST_P(IniLoad, FreeTakesNull) {
    GetParam().free(nullptr);
}

TEST_P(IniLoad, TheFileIsClosedAfterwards) {
    const std::size_t before = kxtest::OpenDescriptors();
    const Ini ini = Document("[a]\nx=1\n");
    EXPECT_EQ(kxtest::OpenDescriptors(), before);
    ExpectRefused(kxtest::WriteFile("x.ini", std::string_view("\0", 1)), EINVAL);
    EXPECT_EQ(kxtest::OpenDescriptors(), before);
}

TEST_P(IniLoad, AnUnreadableFileIsRefused) {
    const auto path = kxtest::WriteFile("x.ini", "[a]\n");
    ASSERT_EQ(chmod(path.c_str(), 0), 0);
    LetOthersIn();
    const uid_t user = geteuid();
    if (user == 0) {
        ASSERT_EQ(seteuid(65534), 0);  // root may read everything
    }
    ExpectRefused(path, EACCES);
    ASSERT_EQ(seteuid(user), 0);
}

INI_TEST_SUITE(IniLoad);
