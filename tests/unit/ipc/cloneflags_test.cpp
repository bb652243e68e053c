#include "ipc/cloneflags.h"

#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "answer_frames.h"
#include "cloneflags_fixture.h"
#include "common/state.h"
#include "ipc/response.h"

namespace fs = std::filesystem;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::ReadFile;
using kxtest::WriteFile;
using testing::ElementsAre;

namespace {

using CloneFlags = kxtest::CloneFlagsTest;

// No file can grow while it lives: what a full disk does to a write.
class FullDisk {
  public:
    FullDisk() {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit none{0, before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &none);
    }
    ~FullDisk() { setrlimit(RLIMIT_FSIZE, &before); }
    FullDisk(const FullDisk&) = delete;
    FullDisk& operator=(const FullDisk&) = delete;

  private:
    rlimit before{};
};

}  // namespace

TEST_F(CloneFlags, AreBothMadeWhenNeitherIsThere) {
    MarkAsClone(1);
    EXPECT_EQ(ReadFile(clone), "1");
    EXPECT_TRUE(fs::is_empty(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate));
}

TEST_F(CloneFlags, AreCompletedWhenTheFirstIsThere) {
    WriteFile("config/clone_flag", "whatever");
    MarkAsClone(1);
    EXPECT_EQ(ReadFile(clone), "whatever");
    EXPECT_TRUE(fs::is_empty(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate));
}

TEST_F(CloneFlags, AreLeftAloneWhenTheSecondIsThere) {
    WriteFile("config/recalculate_agentid", "old");
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(clone));
    EXPECT_EQ(ReadFile(recalculation), "old");
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate));
}

TEST_F(CloneFlags, AreLeftAloneWhenBothAreThere) {
    WriteFile("config/clone_flag", "whatever");
    WriteFile("config/recalculate_agentid", "old");
    MarkAsClone(1);
    EXPECT_EQ(ReadFile(clone), "whatever");
    EXPECT_EQ(ReadFile(recalculation), "old");
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate));
}

// Only whether the name is taken is looked at.
TEST_F(CloneFlags, MayBeDirectories) {
    fs::create_directory(clone);
    MarkAsClone(1);
    EXPECT_TRUE(fs::is_directory(clone));
    EXPECT_TRUE(fs::is_empty(recalculation));
    fs::remove(recalculation);
    fs::create_directory(recalculation);
    fs::remove(clone);
    kxtest::ClearLog();
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(clone));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate));
}

TEST_F(CloneFlags, DoNotTouchWhatALinkUnderTheirNameLeadsTo) {
    WriteFile("precious", "precious");
    fs::create_symlink("../precious", clone);
    MarkAsClone(1);
    EXPECT_EQ(ReadFile(kxtest::InstallationRoot() / "precious"), "precious");
    EXPECT_TRUE(fs::is_empty(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate));
}

TEST_F(CloneFlags, TellTheManagersNumber) {
    WriteFile("config/recalculate_agentid", "");
    MarkAsClone(0xFFFFFFFF);
    EXPECT_THAT(LoggedLines(), ElementsAre(LogLine{3, "kxepinfo", "duplicate:4294967295"}));
}

TEST_F(CloneFlags, AreNotMadeInAMissingDirectory) {
    fs::remove(config);
    MarkAsClone(1);
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kCannotOpen, kNoCloneFlag));
}

TEST_F(CloneFlags, StopAtAFirstThatCannotBeWritten) {
    {
        const FullDisk full_disk;
        MarkAsClone(1);
    }
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kCannotWrite, kNoCloneFlag));
}

TEST_F(CloneFlags, DoNotFollowALinkUnderTheNameOfTheFirst) {
    fs::create_symlink("../elsewhere", clone);
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(kxtest::InstallationRoot() / "elsewhere"));
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kCannotOpen, kNoCloneFlag));
}

TEST_F(CloneFlags, DoNotFollowALinkUnderTheNameOfTheSecond) {
    fs::create_symlink("../elsewhere", recalculation);
    MarkAsClone(1);
    EXPECT_EQ(ReadFile(clone), "1");
    EXPECT_FALSE(fs::exists(kxtest::InstallationRoot() / "elsewhere"));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kNoRecalculation));
}

TEST_F(CloneFlags, AreMadeUponADuplicateAndTheAgentIsOnline) {
    auto message = kxtest::Accepted();
    message.set_duplicate(1);
    std::string frame = kxtest::Frame(message);
    Attempt_Times = 3;
    IpcOnResponse(0, 0, frame.data(), kxtest::Size(frame), nullptr);
    EXPECT_EQ(ReadFile(clone), "1");
    EXPECT_TRUE(fs::is_empty(recalculation));
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_EQ(Attempt_Times, 0U);
}

TEST_F(CloneFlags, ThatCannotBeMadeDoNotTurnTheAnswerIntoAFailure) {
    fs::remove(config);
    auto message = kxtest::Accepted();
    message.set_duplicate(1);
    std::string frame = kxtest::Frame(message);
    Attempt_Times = 3;
    g_preOnlineState = 0;
    IpcOnResponse(0, 0, frame.data(), kxtest::Size(frame), nullptr);
    EXPECT_EQ(g_preOnlineState, 1U);
    EXPECT_EQ(Attempt_Times, 0U);
}

TEST_F(CloneFlags, AreNotMadeWithoutADuplicate) {
    std::string frame = kxtest::Frame(kxtest::Accepted());
    IpcOnResponse(0, 0, frame.data(), kxtest::Size(frame), nullptr);
    EXPECT_TRUE(fs::is_empty(config));
}

TEST_F(CloneFlags, HaveRoomForTheLongestPath) {
    std::vector<std::pair<std::string, std::size_t>> expanded;
    kxtest::Agent().kxe_dirutils_path_transform = [&](const char* in, char* out, std::size_t size) {
        expanded.emplace_back(in, size);
        out[0] = '\0';
    };
    MarkAsClone(1);
    EXPECT_THAT(
        expanded,
        ElementsAre(std::pair<std::string, std::size_t>("@/../config/recalculate_agentid", 4096),
                    std::pair<std::string, std::size_t>("@/../config/clone_flag", 4096)));
}
