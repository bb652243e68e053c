// Clone flags on disks that do not take them.
#include <gmock/gmock.h>

#include <filesystem>
#include <memory>
#include <string>

#include "ipc/cloneflags.h"
#include "ipc_fixture.h"
#include "tiny_disk.h"

namespace fs = std::filesystem;
using kxtest::LoggedLines;
using kxtest::LogLine;
using kxtest::ReadFile;
using kxtest::WriteFile;
using testing::ElementsAre;

namespace {

const LogLine kDuplicate{3, "kxepinfo", "duplicate:1"};
const LogLine kRecalculate{3, "kxepinfo", "recalculate"};
const LogLine kNoCloneFlag{2, "kxepinfo", "fail to touch clone_flag"};
const LogLine kNoRecalculation{2, "kxepinfo", "fail to touch recalculate flag"};

class CloneFlagsOnDisk : public kxtest::IpcTest {
  protected:
    // The configuration on a disk of one page that holds so many files; 0: any number.
    void UseDisk(int files) {
        fs::create_directory(m_config);
        m_disk = std::make_unique<kxtest::TinyDisk>(m_config, 4, files);
        if (!m_disk->IsMounted()) {
            GTEST_SKIP() << "mounting needs root";
        }
    }
    void MakeReadOnly() const {
        ASSERT_EQ(mount(nullptr, m_config.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    }
    LogLine CannotOpen() const {
        const fs::path expanded = kxtest::InstallationRoot() / "bin/../config/clone_flag";
        return {1, "kxepinfo", "fail to open: " + expanded.string()};
    }

  private:
    const fs::path m_config = kxtest::InstallationRoot() / "config";
    std::unique_ptr<kxtest::TinyDisk> m_disk;

  protected:
    const fs::path clone = m_config / "clone_flag";
    const fs::path recalculation = m_config / "recalculate_agentid";
};

}  // namespace

TEST_F(CloneFlagsOnDisk, StopWhenTheFirstCannotBeFilled) {
    UseDisk(0);
    if (IsSkipped()) {
        return;
    }
    WriteFile("config/filler", std::string(4096, 'x'));
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(),
                ElementsAre(kDuplicate, kRecalculate, LogLine{1, "kxepinfo", "create clone_flag"},
                            kNoCloneFlag));
}

// Whether a flag is there is all that counts, so the empty one that the full disk left will do.
TEST_F(CloneFlagsOnDisk, AreCompletedByTheNextReport) {
    UseDisk(0);
    if (IsSkipped()) {
        return;
    }
    WriteFile("config/filler", std::string(4096, 'x'));
    MarkAsClone(1);
    kxtest::ClearLog();
    MarkAsClone(1);
    EXPECT_TRUE(fs::is_empty(clone));
    EXPECT_TRUE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate));
}

TEST_F(CloneFlagsOnDisk, AreTriedAgainWhenNotEvenTheFirstCouldBeMade) {
    UseDisk(2);
    if (IsSkipped()) {
        return;
    }
    WriteFile("config/one", "");
    WriteFile("config/other", "");
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(clone));
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, CannotOpen(), kNoCloneFlag));
    fs::remove(recalculation.parent_path() / "one");
    fs::remove(recalculation.parent_path() / "other");
    kxtest::ClearLog();
    MarkAsClone(1);
    EXPECT_EQ(ReadFile(clone), "1");
    EXPECT_TRUE(fs::is_empty(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate));
}

TEST_F(CloneFlagsOnDisk, AreTheFirstAloneWhenThereIsNoRoomForTheSecond) {
    UseDisk(1);
    if (IsSkipped()) {
        return;
    }
    MarkAsClone(1);
    EXPECT_EQ(ReadFile(clone), "1");
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kNoRecalculation));
}

TEST_F(CloneFlagsOnDisk, AreNotMadeOnOneThatIsReadOnly) {
    UseDisk(0);
    if (IsSkipped()) {
        return;
    }
    MakeReadOnly();
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(clone));
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, CannotOpen(), kNoCloneFlag));
}

TEST_F(CloneFlagsOnDisk, AreNotCompletedOnOneThatIsReadOnly) {
    UseDisk(0);
    if (IsSkipped()) {
        return;
    }
    WriteFile("config/clone_flag", "1");
    MakeReadOnly();
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kNoRecalculation));
}

TEST_F(CloneFlagsOnDisk, AreNotTriedWhenTheSecondIsThere) {
    UseDisk(0);
    if (IsSkipped()) {
        return;
    }
    WriteFile("config/recalculate_agentid", "");
    MakeReadOnly();
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(clone));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate));
}
