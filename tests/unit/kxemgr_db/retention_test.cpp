// What is deleted, and what is not.
#include "kxemgr/retention.h"

#include <cerrno>
#include <ctime>

#include "cl_ev.h"
#include "database_fixture.h"

namespace kxtest {
namespace {

constexpr std::int64_t kFirstMs = 1'700'000'000'123;

class Retention : public DatabaseTest {
  protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        database = Open();
        connection = kxemgr::OpenConnection(File(), 0);
    }
    std::int64_t number(const char* sql) { return kxemgr::QueryNumber(*connection, sql); }

    // Uploads of agent 1 one second after the other.
    void keep_uploads(int count, std::size_t payload_bytes = 10) {
        for (int i = 0; i < count; ++i) {
            const auto sample = UploadOfMachine(1, 1, i);
            sample->payload.assign(payload_bytes, 'x');
            sample->upload.payload = sample->payload;
            Keep(*database, sample);
        }
    }

    std::unique_ptr<kxemgr::Database> database;
    kxemgr::Connection connection;
};

TEST_F(Retention, DeletesWhatIsOlderAndNothingElse) {
    Keep(*database, UploadOfMachine(1, 1));
    Keep(*database, UploadOfMachine(1, 2));  // a clone
    const auto changed = UploadOfMachine(1, 1, 1);
    changed->upload.message.mutable_sys_info()->mutable_base_info()->set_host_node("b");
    Keep(*database, changed);
    const auto again = UploadOfMachine(1, 1, 2);
    Keep(*database, again);

    EXPECT_TRUE(kxemgr::DeleteBefore(*connection, kFirstMs + 2000));
    EXPECT_EQ(number("SELECT count(*) FROM uploads"), 1);
    EXPECT_EQ(number("SELECT count(*) FROM samples"), 1);
    EXPECT_EQ(number("SELECT count(*) FROM changes"), 1);
    EXPECT_EQ(number("SELECT count(*) FROM clones"), 0);
    EXPECT_EQ(number("SELECT min(received_at) FROM uploads"), kFirstMs + 2000);
}

TEST_F(Retention, KeepsAgentsSinceClonesAreToldByThem) {
    Keep(*database, UploadOfMachine(1, 1));
    EXPECT_TRUE(kxemgr::DeleteBefore(*connection, kFirstMs + 1));
    EXPECT_EQ(number("SELECT count(*) FROM uploads"), 0);
    EXPECT_TRUE(Keep(*database, UploadOfMachine(1, 2)));
}

TEST_F(Retention, WritesNothingWhenThereIsNothingToDelete) {
    Keep(*database, UploadOfMachine(1, 1));
    const auto other = kxemgr::OpenConnection(File(), 0);
    const auto version = [&] { return kxemgr::QueryNumber(*other, "PRAGMA data_version"); };
    const auto before = version();
    EXPECT_FALSE(kxemgr::DeleteBefore(*connection, kFirstMs));
    EXPECT_EQ(version(), before);
    EXPECT_TRUE(kxemgr::DeleteBefore(*connection, kFirstMs + 1));
    EXPECT_NE(version(), before);
}

TEST_F(Retention, TakesABoundedNumberOfRowsAtATime) {
    const int count = static_cast<int>(kxemgr::kMostRowsOfABatch) + 20;
    kxemgr::Execute(*connection, "BEGIN");
    for (int i = 0; i < count; ++i) {
        kxemgr::Execute(*connection,
                        ("INSERT INTO samples VALUES (1, " + std::to_string(i) +
                         ", 1, 1, 1); "
                         "INSERT INTO changes VALUES (NULL, 1, 1, 'a', 'b', 'c', 'd'); "
                         "INSERT INTO uploads VALUES (NULL, 1, 1, 'a', 1, 1, 1, 0, x'00')")
                            .c_str());
    }
    kxemgr::Execute(*connection, "COMMIT");
    EXPECT_TRUE(kxemgr::DeleteBefore(*connection, kFirstMs));
    EXPECT_EQ(number("SELECT count(*) FROM samples"), 20);
    EXPECT_EQ(number("SELECT count(*) FROM changes"), 20);
    EXPECT_EQ(number("SELECT count(*) FROM uploads"), 20);
    EXPECT_EQ(number("SELECT min(received_at) FROM samples"), kxemgr::kMostRowsOfABatch);
    EXPECT_TRUE(kxemgr::DeleteBefore(*connection, kFirstMs));
    EXPECT_FALSE(kxemgr::DeleteBefore(*connection, kFirstMs));
}

TEST_F(Retention, TakesABoundedNumberOfBytesAtATime) {
    constexpr std::size_t kThird = static_cast<std::size_t>(kxemgr::kMostBytesOfABatch) / 3 + 1;
    keep_uploads(5, kThird);
    EXPECT_TRUE(kxemgr::DeleteBefore(*connection, kFirstMs + 100'000));
    EXPECT_EQ(number("SELECT count(*) FROM uploads"), 2);
}

TEST_F(Retention, TakesAnUploadThatIsLargerThanABatch) {
    keep_uploads(2, static_cast<std::size_t>(kxemgr::kMostBytesOfABatch) + 1);
    EXPECT_TRUE(kxemgr::DeleteBefore(*connection, kFirstMs + 100'000));
    EXPECT_EQ(number("SELECT count(*) FROM uploads"), 1);
}

TEST_F(Retention, ReusesTheRoomOfWhatWasDeleted) {
    keep_uploads(20, 100'000);
    const auto pages = number("PRAGMA page_count");
    while (kxemgr::DeleteBefore(*connection, kFirstMs + 100'000)) {
    }
    keep_uploads(20, 100'000);
    EXPECT_LE(number("PRAGMA page_count"), pages);
}

TEST_F(Retention, WorksThroughABacklogFromTheEventLoop) {
    keep_uploads(3);
    const auto recent = UploadOfMachine(1, 1);
    recent->upload.received.tv_sec = std::time(nullptr);
    Keep(*database, recent);
    const kxemgr::Retention retention(File(), 1);
    while (number("SELECT count(*) FROM uploads") > 1) {
        (void)cl_event_loop_once();
    }
    EXPECT_GT(number("SELECT received_at FROM uploads"), kFirstMs + 100'000);
}

TEST_F(Retention, TellsWhatGoesWrongAndGoesOn) {
    keep_uploads(1);
    kxemgr::Execute(*connection, "BEGIN IMMEDIATE");
    testing::internal::CaptureStderr();
    const kxemgr::Retention retention(File(), 1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string(program_invocation_short_name) +
                  ": old uploads cannot be deleted: database is locked\n");
    kxemgr::Execute(*connection, "ROLLBACK");
    EXPECT_EQ(number("SELECT count(*) FROM uploads"), 1);
}

}  // namespace
}  // namespace kxtest
