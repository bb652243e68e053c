// The schema's versions.
#include "kxemgr/schema.h"

#include "database_fixture.h"

namespace kxtest {
namespace {

class Schema : public DatabaseTest {
  protected:
    void SetUp() override {
        DatabaseTest::SetUp();
        WriteFile("uploads.db", "");
        connection = kxemgr::OpenConnection(File(), 0);
    }

    std::string fault_of_migrating(std::span<const char* const> migrations) {
        try {
            kxemgr::Migrate(*connection, migrations);
        } catch (const kxemgr::SqliteError& error) {
            return error.what();
        }
        return "";
    }
    bool is_ours_to_use() {
        try {
            kxemgr::CheckOwner(*connection);
        } catch (const kxemgr::SqliteError& error) {
            EXPECT_STREQ(error.what(), "it is the database of another program");
            return false;
        }
        return true;
    }
    std::int64_t number(const char* sql) { return kxemgr::QueryNumber(*connection, sql); }

    kxemgr::Connection connection;
    const char* steps[3] = {"CREATE TABLE t (a); INSERT INTO t VALUES (1)",
                            "ALTER TABLE t ADD b DEFAULT 5", "UPDATE t SET b = b + a"};
};

TEST_F(Schema, ANewDatabaseGetsAllMigrations) {
    EXPECT_EQ(fault_of_migrating(steps), "");
    EXPECT_EQ(number("PRAGMA user_version"), 3);
    EXPECT_EQ(number("PRAGMA application_id"), 1264076109);
    EXPECT_EQ(number("SELECT b FROM t"), 6);
}

TEST_F(Schema, AnOlderDatabaseGetsTheMissingOnes) {
    EXPECT_EQ(fault_of_migrating({steps, 1}), "");
    EXPECT_EQ(number("PRAGMA user_version"), 1);
    kxemgr::Execute(*connection, "INSERT INTO t VALUES (10)");
    EXPECT_EQ(fault_of_migrating(steps), "");
    EXPECT_EQ(number("PRAGMA user_version"), 3);
    EXPECT_EQ(number("SELECT sum(b) FROM t"), 6 + 15);
}

TEST_F(Schema, ADatabaseOfThisVersionStaysAsItIs) {
    EXPECT_EQ(fault_of_migrating(steps), "");
    EXPECT_EQ(fault_of_migrating(steps), "");
    EXPECT_EQ(number("SELECT b FROM t"), 6);
}

TEST_F(Schema, ANewerDatabaseIsRefusedAndUntouched) {
    EXPECT_EQ(fault_of_migrating(steps), "");
    EXPECT_EQ(fault_of_migrating({steps, 2}),
              "its schema has version 3, and this program knows none above 2");
    EXPECT_EQ(number("PRAGMA user_version"), 3);
}

TEST_F(Schema, ANegativeVersionIsRefused) {
    kxemgr::Execute(*connection, "PRAGMA user_version = -1");
    EXPECT_EQ(fault_of_migrating(steps),
              "its schema has version -1, and this program knows none above 3");
}

TEST_F(Schema, AMigrationThatFailsLeavesTheDatabaseAsItWas) {
    EXPECT_EQ(fault_of_migrating({steps, 1}), "");
    const char* const broken[] = {steps[0], steps[1], "UPDATE absent SET a = 1"};
    EXPECT_EQ(fault_of_migrating(broken), "no such table: absent");
    EXPECT_EQ(number("PRAGMA user_version"), 1);
    EXPECT_EQ(number("SELECT count(*) FROM pragma_table_info('t')"), 1);
}

TEST_F(Schema, AnEmptyDatabaseIsTaken) {
    EXPECT_TRUE(is_ours_to_use());
}

TEST_F(Schema, OurOwnDatabaseIsTaken) {
    EXPECT_EQ(fault_of_migrating(kxemgr::Migrations()), "");
    EXPECT_TRUE(is_ours_to_use());
}

TEST_F(Schema, ADatabaseWithTablesOfSomebodyElseIsNotTaken) {
    kxemgr::Execute(*connection, "CREATE TABLE bookmarks (a)");
    EXPECT_FALSE(is_ours_to_use());
}

TEST_F(Schema, ADatabaseOfAnotherApplicationIsNotTaken) {
    kxemgr::Execute(*connection, "PRAGMA application_id = 1");
    EXPECT_FALSE(is_ours_to_use());
}

TEST_F(Schema, FindsAnAgentsUploadsAndATimeByAnIndex) {
    EXPECT_EQ(fault_of_migrating(kxemgr::Migrations()), "");
    const auto plan = [this](const char* sql) {
        kxemgr::Statement statement(*connection, sql);
        EXPECT_TRUE(statement.step());
        return statement.text(3);
    };
    EXPECT_THAT(plan("EXPLAIN QUERY PLAN SELECT * FROM uploads WHERE agent_id = 1 AND "
                     "received_at > 5 ORDER BY received_at"),
                testing::HasSubstr("USING INDEX uploads_by_agent"));
    EXPECT_THAT(plan("EXPLAIN QUERY PLAN SELECT * FROM uploads WHERE received_at > 5"),
                testing::HasSubstr("USING INDEX uploads_by_time"));
    EXPECT_THAT(plan("EXPLAIN QUERY PLAN SELECT * FROM agents WHERE last_seen < 5"),
                testing::HasSubstr("USING INDEX agents_by_time"));
}

}  // namespace
}  // namespace kxtest
