// The agent's id.
#include "host_id.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "bus.h"
#include "loaded_library.h"
#include "nox_id.h"

namespace fs = std::filesystem;

namespace {

using kxtest::InstallationRoot;
using kxtest::ReadFile;
using kxtest::WriteFile;

class HostIdTest : public BusTest {
  protected:
    static std::string Directory() { return InstallationRoot() / "config"; }
    static fs::path File() { return InstallationRoot() / "config/agent_id"; }
    static uint32_t Id() { return noxipc::ReadOrDrawHostId(Directory()); }

    static void SetTime(const fs::path& file, time_t seconds) {
        const timespec times[] = {{seconds, 0}, {seconds, 0}};
        ASSERT_EQ(0, utimensat(AT_FDCWD, file.c_str(), times, 0));
    }
};

TEST(HostIdText, IsADecimalNumber) {
    EXPECT_EQ(1U, noxipc::ParseHostId("1"));
    EXPECT_EQ(4294967295U, noxipc::ParseHostId("4294967295"));
    EXPECT_EQ(42U, noxipc::ParseHostId(" \t42\r\n"));
    EXPECT_EQ(7U, noxipc::ParseHostId("007"));
}

TEST(HostIdText, OfAnythingElseIsNone) {
    for (const char* text : {"", " ", "\n", "0", "-1", "+1", "4294967296", "99999999999999999999",
                             "12x", "x12", "1 2", "0x10", "1.0"}) {
        EXPECT_EQ(std::nullopt, noxipc::ParseHostId(text)) << text;
    }
    EXPECT_EQ(std::nullopt, noxipc::ParseHostId(std::string_view("1\0", 2)));
}

TEST_F(HostIdTest, IsTheOneInTheFile) {
    WriteFile("config/agent_id", "123456\n");
    EXPECT_EQ(123456U, Id());
    EXPECT_EQ("123456\n", ReadFile(File()));
    EXPECT_THAT(kxtest::LoggedLines(), testing::IsEmpty());
}

TEST_F(HostIdTest, IsDrawnAndKeptWhenThereIsNone) {
    const uint32_t id = Id();
    EXPECT_NE(0U, id);
    EXPECT_EQ(std::to_string(id) + "\n", ReadFile(File()));
    EXPECT_EQ(id, Id());
    const std::string text = "the agent's id is " + std::to_string(id) + " from now on";
    EXPECT_THAT(kxtest::LoggedLines(), testing::ElementsAre(kxtest::LogLine{3, "noxipc", text}));
}

TEST_F(HostIdTest, IsWrittenWithRightsForTheGroupAndNothingLeftBeside) {
    const mode_t before = umask(0077);
    (void)Id();
    umask(before);
    struct stat status = {};
    ASSERT_EQ(0, stat(File().c_str(), &status));
    EXPECT_EQ(mode_t{S_IFREG | 0640}, status.st_mode);
    EXPECT_EQ(1, std::distance(fs::directory_iterator(Directory()), {}));
}

TEST_F(HostIdTest, IsDrawnAnewWhenTheFileHoldsNoId) {
    for (const char* text : {"", "0\n", "garbage", "4294967296\n"}) {
        WriteFile("config/agent_id", text);
        const uint32_t id = Id();
        EXPECT_NE(0U, id) << text;
        EXPECT_EQ(std::to_string(id) + "\n", ReadFile(File())) << text;
    }
}

TEST_F(HostIdTest, IsAnotherEachTimeItIsDrawn) {
    std::set<uint32_t> ids;
    for (int round = 0; round < 20; ++round) {
        fs::remove(File());
        ids.insert(Id());
    }
    EXPECT_GE(ids.size(), 19U);  // two of 20 are the same once in 22 million runs
}

TEST_F(HostIdTest, IsDrawnAgainOnceWhenThatIsAskedFor) {
    SetTime(WriteFile("config/agent_id", "5\n"), 1000);
    SetTime(WriteFile("config/recalculate_agentid", ""), 2000);
    const uint32_t id = Id();
    EXPECT_NE(0U, id);
    EXPECT_NE(5U, id);
    EXPECT_EQ(id, Id());
}

TEST_F(HostIdTest, IsDrawnAgainOnlyOnceEvenWhenTheWishIsFromTheFuture) {
    SetTime(WriteFile("config/agent_id", "5\n"), 1000);
    SetTime(WriteFile("config/recalculate_agentid", ""), time(nullptr) + 100000);
    const uint32_t id = Id();
    EXPECT_NE(5U, id);
    EXPECT_EQ(id, Id());
}

TEST_F(HostIdTest, StaysWhenTheWishForAnotherIsNotNewer) {
    SetTime(WriteFile("config/agent_id", "5\n"), 2000);
    SetTime(WriteFile("config/recalculate_agentid", ""), 2000);
    EXPECT_EQ(5U, Id());
    SetTime(InstallationRoot() / "config/recalculate_agentid", 1000);
    EXPECT_EQ(5U, Id());
}

TEST_F(HostIdTest, IsUnknownWhenItCannotBeKept) {
    WriteFile("config", "not a directory");
    EXPECT_EQ(0U, Id());
    const std::string text = Directory() + " cannot be opened: Not a directory";
    EXPECT_THAT(kxtest::LoggedLines(), testing::ElementsAre(kxtest::LogLine{2, "noxipc", text}));
}

TEST_F(HostIdTest, IsUnknownWithoutAPlaceForItsDirectory) {
    const std::string directory = InstallationRoot() / "nowhere/config";
    EXPECT_EQ(0U, noxipc::ReadOrDrawHostId(directory));
    const std::string text = directory + " cannot be made: No such file or directory";
    EXPECT_THAT(kxtest::LoggedLines(), testing::ElementsAre(kxtest::LogLine{2, "noxipc", text}));
}

TEST_F(HostIdTest, IsUnknownWhenSomethingIsInTheNewFilesPlace) {
    fs::create_directories(fs::path(Directory()) / "agent_id.new");
    EXPECT_EQ(0U, Id());
    const std::string text = "the agent's id cannot be written: File exists";
    EXPECT_THAT(kxtest::LoggedLines(), testing::ElementsAre(kxtest::LogLine{2, "noxipc", text}));
}

TEST_F(HostIdTest, IsUnknownAfterTwoSecondsWithTheLockTaken) {
    const int lock = open(WriteFile("config/agent_id.lock", "").c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(0, flock(lock, LOCK_EX));
    EXPECT_EQ(0U, Id());
    close(lock);
    const std::string text =
        Directory() + " cannot be locked to draw an id: Address already in use";
    EXPECT_THAT(kxtest::LoggedLines(), testing::ElementsAre(kxtest::LogLine{2, "noxipc", text}));
    EXPECT_NE(0U, Id());
}

TEST_F(HostIdTest, IsUnknownWhenTheFileCannotBeReplaced) {
    fs::create_directories(File());
    EXPECT_EQ(0U, Id());
    const std::string text = "the agent's id cannot be written: Is a directory";
    EXPECT_THAT(kxtest::LoggedLines(), testing::ElementsAre(kxtest::LogLine{2, "noxipc", text}));
    EXPECT_EQ(1, std::distance(fs::directory_iterator(Directory()), {}));
}

TEST_F(HostIdTest, IsTheSameForAllWhoDrawAtATime) {
    std::vector<std::unique_ptr<Child>> children;
    for (int i = 0; i < 8; ++i) {
        children.push_back(std::make_unique<Child>([](const std::function<void()>&) {
            const uint32_t drawn = Id();
            return drawn != 0 && noxipc::ParseHostId(ReadFile(File())) == drawn ? 0 : 1;
        }));
    }
    for (auto& child : children) {
        EXPECT_EQ(0, child->Wait());
    }
}

// The id of a process is kept in the library: each of these loads it anew.
class ProcessIdTest : public HostIdTest {
  protected:
    uint32_t Ask() const { return m_ask(); }

  private:
    kxtest::LoadedLibrary m_library{NOXIPC_LIBRARY};
    decltype(&nox_get_hostid) m_ask = m_library.Find<decltype(nox_get_hostid)>("nox_get_hostid");
};

TEST_F(ProcessIdTest, StaysWhatItWasAtFirst) {
    WriteFile("config/agent_id", "77\n");
    EXPECT_EQ(77U, Ask());
    WriteFile("config/agent_id", "78\n");
    EXPECT_EQ(77U, Ask());
}

TEST_F(ProcessIdTest, IsLookedForAgainWhileItIsUnknown) {
    WriteFile("config", "not a directory");
    EXPECT_EQ(0U, Ask());
    fs::remove(Directory());
    WriteFile("config/agent_id", "77\n");
    EXPECT_EQ(77U, Ask());
}

TEST_F(ProcessIdTest, MayBeAskedForOnSeveralThreads) {
    std::vector<uint32_t> ids(8, 0);
    std::vector<std::thread> threads;
    for (uint32_t& id : ids) {
        threads.emplace_back([this, &id] { id = Ask(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_NE(0U, ids[0]);
    EXPECT_EQ(std::vector<uint32_t>(8, ids[0]), ids);
}

}  // namespace
