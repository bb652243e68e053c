// What a save has begun to write and a killed process cannot take away.
#include "unfinished_file.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "installation.h"

namespace fs = std::filesystem;
using kxebase::CreateUnfinishedFile;
using kxebase::Descriptor;
using kxebase::ReplaceFile;
using testing::ElementsAre;
using testing::MatchesRegex;

namespace {

constexpr char kLeft[] = "config/.x.ini.0123456789abcdef";

class UnfinishedFile : public testing::Test {
  protected:
    void SetUp() override {
        kxtest::ClearInstallation();
        target = kxtest::WriteFile("config/x.ini", "old");
    }

    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const auto& entry : fs::directory_iterator(target.parent_path())) {
            names.insert(entry.path().filename());
        }
        return names;
    }
    int Create(std::string& path, Descriptor& file) const {
        return CreateUnfinishedFile(target, 0600, path, file);
    }
    void Save() const { EXPECT_EQ(ReplaceFile(target.c_str(), "new"), 0); }

    fs::path target;
};

int LockError(const std::string& path) {
    const Descriptor other(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return flock(other.Get(), LOCK_EX | LOCK_NB) == 0 ? 0 : errno;
}

}  // namespace

TEST_F(UnfinishedFile, HasAHiddenNameBesideItsTarget) {
    std::string path;
    Descriptor file;
    ASSERT_EQ(Create(path, file), 0);
    EXPECT_EQ(fs::path(path).parent_path(), target.parent_path());
    EXPECT_THAT(fs::path(path).filename().string(), MatchesRegex(R"(\.x\.ini\.[0-9a-f]{16})"));
    EXPECT_EQ(fcntl(file.Get(), F_GETFD), FD_CLOEXEC);
}

TEST_F(UnfinishedFile, IsLockedAsLongAsItIsOpen) {
    std::string path;
    Descriptor file;
    ASSERT_EQ(Create(path, file), 0);
    EXPECT_EQ(LockError(path), EWOULDBLOCK);
    EXPECT_EQ(file.Close(), 0);
    EXPECT_EQ(LockError(path), 0);
}

TEST_F(UnfinishedFile, OfADirectoryThatIsNotThereIsAnError) {
    std::string path;
    Descriptor file;
    EXPECT_EQ(CreateUnfinishedFile(target.string() + ".d/x", 0600, path, file), ENOENT);
    EXPECT_FALSE(file.IsOpen());
}

TEST_F(UnfinishedFile, OfADeadProcessGoesWithTheNextSave) {
    EXPECT_EQ(kxtest::ExitOf(kxtest::InChild([this] {
                  std::string path;
                  Descriptor file;
                  return Create(path, file) == 0 ? raise(SIGKILL) : 1;
              })),
              -SIGKILL);
    EXPECT_EQ(Names().size(), 2U);
    Save();
    EXPECT_THAT(Names(), ElementsAre("x.ini"));
    EXPECT_EQ(kxtest::ReadFile(target), "new");
}

TEST_F(UnfinishedFile, OfALongNameGoesToo) {
    target = kxtest::WriteFile("config/" + std::string(250, 'n'), "old");
    std::string path;
    Descriptor file;
    ASSERT_EQ(Create(path, file), 0);
    EXPECT_EQ(file.Close(), 0);
    Save();
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(UnfinishedFile, OfAPlainNameGoesFromTheWorkingDirectory) {
    ASSERT_EQ(chdir(target.parent_path().c_str()), 0);
    kxtest::WriteFile(kLeft, "");
    EXPECT_EQ(ReplaceFile("x.ini", "new"), 0);
    EXPECT_THAT(Names(), ElementsAre("x.ini"));
}

TEST_F(UnfinishedFile, StaysWhileSomebodyWritesIt) {
    std::string path;
    Descriptor file;
    ASSERT_EQ(Create(path, file), 0);
    Save();
    EXPECT_TRUE(fs::exists(path));
}

TEST_F(UnfinishedFile, IsToldFromAllOthersByItsName) {
    const std::set<std::string> others = {".x.ini.0123456789abcde",  ".x.ini.0123456789abcdef0",
                                          ".x.ini.0123456789ABCDEF", ".y.ini.0123456789abcdef",
                                          "x.ini.0123456789abcdef",  ".x.ini."};
    for (const std::string& name : others) {
        kxtest::WriteFile("config/" + name, "");
    }
    Save();
    EXPECT_THAT(Names(), testing::IsSupersetOf(others));
}

TEST_F(UnfinishedFile, IsARegularFile) {
    const fs::path named = target.parent_path() / ".x.ini.0123456789abcdef";
    fs::create_directory(named);
    Save();
    EXPECT_TRUE(fs::exists(named));
    fs::remove(named);
    fs::create_symlink(target, named);
    Save();
    EXPECT_TRUE(fs::is_symlink(named));
    fs::remove(named);
    ASSERT_EQ(mkfifo(named.c_str(), 0600), 0);
    Save();
    EXPECT_TRUE(fs::exists(named));
}

TEST_F(UnfinishedFile, OfOneWriterIsNeverTakenAwayByAnother) {
    std::vector<std::thread> writers;
    for (int i = 0; i < 4; ++i) {
        writers.emplace_back([this] {
            for (int k = 0; k < 100; ++k) {
                Save();
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    EXPECT_THAT(Names(), ElementsAre("x.ini"));
}
