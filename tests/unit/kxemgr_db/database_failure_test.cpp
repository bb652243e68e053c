// What goes wrong with the file, in one clear line each.
#include <sys/mount.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "database_fixture.h"
#include "tiny_disk.h"

namespace fs = std::filesystem;

namespace kxtest {
namespace {

using DatabaseFailure = DatabaseTest;

TEST_F(DatabaseFailure, AFolderThatIsNotThere) {
    EXPECT_EQ(FaultOfOpening("/no/such/folder/uploads.db"), "No such file or directory");
}

TEST_F(DatabaseFailure, AFolderInTheFilesPlace) {
    EXPECT_EQ(FaultOfOpening("/"), "Is a directory");
}

TEST_F(DatabaseFailure, AFileThatIsNoDatabase) {
    WriteFile("uploads.db", std::string(5000, 'x'));
    EXPECT_EQ(FaultOfOpening(), "file is not a database");
    EXPECT_EQ(ReadFile(File()), std::string(5000, 'x'));
}

TEST_F(DatabaseFailure, ADatabaseOfAnotherProgramStaysAsItIs) {
    WriteFile("uploads.db", "");
    Do("CREATE TABLE bookmarks (a)");
    const std::string before = ReadFile(File());
    EXPECT_EQ(FaultOfOpening(), "it is the database of another program");
    EXPECT_EQ(ReadFile(File()), before);
}

TEST_F(DatabaseFailure, ANewerSchema) {
    Open();
    Do("PRAGMA user_version = 1000");
    EXPECT_THAT(FaultOfOpening(),
                testing::MatchesRegex(
                    "its schema has version 1000, and this program knows none above [0-9]+"));
}

TEST_F(DatabaseFailure, ASchemaThatLacksATable) {
    Open();
    Do("DROP TABLE agents");
    EXPECT_EQ(FaultOfOpening(), "no such table: agents");
}

TEST_F(DatabaseFailure, ALockThatIsNotGivenUp) {
    const auto database = Open();
    const auto other = kxemgr::OpenConnection(File(), 0);
    kxemgr::Execute(*other, "BEGIN IMMEDIATE");
    EXPECT_EQ(FaultOfKeeping(*database, UploadOfMachine(1, 1)), "database is locked");
    kxemgr::Execute(*other, "ROLLBACK");
    EXPECT_FALSE(Keep(*database, UploadOfMachine(1, 1)));
    EXPECT_EQ(Ask("SELECT count(*) FROM uploads"), "1");
}

TEST_F(DatabaseFailure, ACorruptDatabase) {
    Keep(*Open(), UploadOfMachine(1, 1));
    const auto size = fs::file_size(File());
    std::fstream file(File(), std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(4096);  // behind the first page, which holds the schema
    file << std::string(size - 4096, '\xAA');
    file.close();
    const auto database = Open();
    EXPECT_EQ(FaultOfKeeping(*database, UploadOfMachine(1, 1)), "database disk image is malformed");
}

TEST_F(DatabaseFailure, AFileThatWasDeleted) {
    const auto database = Open();
    fs::remove(File());
    EXPECT_EQ(FaultOfKeeping(*database, UploadOfMachine(1, 1)),
              "the file has been moved or deleted");
}

TEST_F(DatabaseFailure, AFileThatWasReplaced) {
    const auto database = Open();
    fs::rename(File(), File() + ".old");
    WriteFile("uploads.db", "");
    EXPECT_EQ(FaultOfKeeping(*database, UploadOfMachine(1, 1)),
              "the file has been moved or deleted");
}

// Works in a file system of a few kilobytes.
class SmallDisk : public DatabaseTest {
  protected:
    static constexpr int kKilobytes = 512;
    static std::string DiskFile() { return (InstallationRoot() / "disk" / "uploads.db").string(); }

    void SetUp() override {
        DatabaseTest::SetUp();
        fs::create_directory(InstallationRoot() / "disk");
        disk = std::make_unique<TinyDisk>(InstallationRoot() / "disk", kKilobytes);
        if (!disk->IsMounted()) {
            GTEST_SKIP() << "no right to mount";
        }
    }
    // Leaves no room.
    static void Fill() {
        std::ofstream ballast(InstallationRoot() / "disk" / "ballast");
        ballast << std::string((kKilobytes + 4) * 1024, 'b') << std::flush;
        ASSERT_FALSE(ballast.good());
    }
    static void MakeRoom() { fs::remove(InstallationRoot() / "disk" / "ballast"); }

    std::unique_ptr<TinyDisk> disk;
};

TEST_F(SmallDisk, FullIsToldAndTheNextUploadIsKeptWhenThereIsRoom) {
    std::string fault;
    const auto database = kxemgr::Database::Open(DiskFile(), fault);
    ASSERT_NE(database, nullptr) << fault;
    EXPECT_FALSE(Keep(*database, UploadOfMachine(1, 1)));
    const auto large = UploadOfMachine(1, 1);
    large->payload.assign(std::size_t{kKilobytes} * 1024, 'x');
    large->upload.payload = large->payload;
    EXPECT_EQ(FaultOfKeeping(*database, large), "database or disk is full");
    Fill();
    EXPECT_EQ(FaultOfKeeping(*database, large), "database or disk is full");
    MakeRoom();
    EXPECT_FALSE(Keep(*database, UploadOfMachine(1, 1)));
    EXPECT_TRUE(Keep(*database, UploadOfMachine(1, 2)));
    const auto reader = kxemgr::OpenConnection(DiskFile(), 0);
    EXPECT_EQ(kxemgr::QueryNumber(*reader, "SELECT count(*) FROM uploads"), 3);
    kxemgr::Statement check(*reader, "PRAGMA integrity_check");
    ASSERT_TRUE(check.step());
    EXPECT_EQ(check.text(0), "ok");
}

TEST_F(SmallDisk, FullFromTheBegin) {
    Fill();
    EXPECT_THAT(FaultOfOpening(DiskFile()),
                testing::AnyOf("database or disk is full",
                               testing::StartsWith("disk I/O error: No space left on device")));
}

TEST_F(SmallDisk, ReadOnly) {
    std::string fault;
    ASSERT_NE(kxemgr::Database::Open(DiskFile(), fault), nullptr) << fault;
    ASSERT_EQ(mount(nullptr, (InstallationRoot() / "disk").c_str(), nullptr, MS_REMOUNT | MS_RDONLY,
                    nullptr),
              0);
    EXPECT_EQ(FaultOfOpening(DiskFile()), "Read-only file system");
}

}  // namespace
}  // namespace kxtest
