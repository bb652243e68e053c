// Clone flags on disks that do not take them.
#include <filesystem>
#include <optional>
#include <string>

#include "cloneflags_fixture.h"
#include "ipc/cloneflags.h"
#include "tiny_disk.h"

namespace fs = std::filesystem;
using kxtest::LoggedLines;
using kxtest::ReadFile;
using kxtest::WriteFile;
using testing::ElementsAre;

namespace {

// The configuration on a disk with room for one page in three files.
class CloneFlagsOnDisk : public kxtest::CloneFlagsTest {
  protected:
    void SetUp() override {
        CloneFlagsTest::SetUp();
        m_disk.emplace(config, kPage / 1024, kFiles);
        if (!m_disk->IsMounted()) {
            GTEST_SKIP() << "mounting needs root";
        }
    }
    static void FillPage() { WriteFile("config/filler", std::string(kPage, 'x')); }
    void LeaveRoomFor(int files) const {
        for (int number = files; number < kFiles; ++number) {
            WriteFile("config/filler" + std::to_string(number), "");
        }
    }
    void RemoveFillers() const {
        for (int number = 0; number < kFiles; ++number) {
            fs::remove(config / ("filler" + std::to_string(number)));
        }
    }
    void MakeReadOnly() const {
        ASSERT_EQ(mount(nullptr, config.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
    }

  private:
    static constexpr int kPage = 4096;
    static constexpr int kFiles = 3;
    std::optional<kxtest::TinyDisk> m_disk;
};

}  // namespace

TEST_F(CloneFlagsOnDisk, StopWhenTheFirstCannotBeFilled) {
    FillPage();
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kCannotWrite, kNoCloneFlag));
}

// Whether a flag is there is all that counts, so the empty one that the full disk left will do.
TEST_F(CloneFlagsOnDisk, AreCompletedByTheNextReport) {
    FillPage();
    MarkAsClone(1);
    kxtest::ClearLog();
    MarkAsClone(1);
    EXPECT_TRUE(fs::is_empty(clone));
    EXPECT_TRUE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate));
}

TEST_F(CloneFlagsOnDisk, AreTriedAgainWhenNotEvenTheFirstCouldBeMade) {
    LeaveRoomFor(0);
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(clone));
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kCannotOpen, kNoCloneFlag));
    RemoveFillers();
    kxtest::ClearLog();
    MarkAsClone(1);
    EXPECT_EQ(ReadFile(clone), "1");
    EXPECT_TRUE(fs::is_empty(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate));
}

TEST_F(CloneFlagsOnDisk, AreTheFirstAloneWhenThereIsNoRoomForTheSecond) {
    LeaveRoomFor(1);
    MarkAsClone(1);
    EXPECT_EQ(ReadFile(clone), "1");
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kNoRecalculation));
}

TEST_F(CloneFlagsOnDisk, AreNotMadeOnOneThatIsReadOnly) {
    MakeReadOnly();
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(clone));
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kCannotOpen, kNoCloneFlag));
}

TEST_F(CloneFlagsOnDisk, AreNotCompletedOnOneThatIsReadOnly) {
    WriteFile("config/clone_flag", "1");
    MakeReadOnly();
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(recalculation));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate, kRecalculate, kNoRecalculation));
}

TEST_F(CloneFlagsOnDisk, AreNotTriedWhenTheSecondIsThere) {
    WriteFile("config/recalculate_agentid", "");
    MakeReadOnly();
    MarkAsClone(1);
    EXPECT_FALSE(fs::exists(clone));
    EXPECT_THAT(LoggedLines(), ElementsAre(kDuplicate));
}
