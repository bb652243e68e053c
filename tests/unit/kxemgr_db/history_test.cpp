// What the database derives from uploads: usage over time, changes, clones.
#include "database_fixture.h"

namespace kxtest {
namespace {

class DatabaseHistory : public DatabaseTest {
  protected:
    static std::string Rows(const char* sql) {
        const kxemgr::Connection connection = kxemgr::OpenConnection(File(), 0);
        kxemgr::Statement statement(*connection, sql);
        std::string rows;
        while (statement.step()) {
            rows += statement.text(0) + "\n";
        }
        return rows;
    }
    static std::string Changes() {
        return Rows(
            "SELECT changed_at || ' ' || subject || ' ' || item || ': ' || before || ' > ' || "
            "after FROM changes ORDER BY id");
    }
};

TEST_F(DatabaseHistory, KeepsTheUsageOfEachUpload) {
    const auto database = Open();
    const auto sample = UploadOfMachine(1, 1);
    sample->upload.message.mutable_rc_info()->set_cpu_usage(327);
    sample->upload.message.mutable_rc_info()->set_mem_usaged(4294967295);
    sample->upload.message.mutable_rc_info()->set_mem_total(8000);
    Keep(*database, sample);
    Keep(*database, UploadOfMachine(1, 1, 40));
    EXPECT_EQ(Rows("SELECT agent_id || ' ' || received_at || ' ' || cpu || ' ' || memory_used || "
                   "' ' || memory_total FROM samples"),
              "1 1700000000123 327 4294967295 8000\n1 1700000040123 5 0 0\n");
}

TEST_F(DatabaseHistory, OfTwoUploadsInOneMillisecondTheLaterCounts) {
    const auto database = Open();
    Keep(*database, UploadOfMachine(1, 1));
    const auto later = UploadOfMachine(1, 1);
    later->upload.message.mutable_rc_info()->set_cpu_usage(9);
    Keep(*database, later);
    EXPECT_EQ(Rows("SELECT cpu FROM samples"), "9\n");
}

TEST_F(DatabaseHistory, AnUploadWithoutUsageOrAgentIsNoSample) {
    const auto database = Open();
    const auto without = UploadOfMachine(1, 1);
    without->upload.message.clear_rc_info();
    Keep(*database, without);
    Keep(*database, UploadOfMachine(0, 1));
    EXPECT_EQ(Rows("SELECT count(*) FROM samples"), "0\n");
}

TEST_F(DatabaseHistory, TellsWhatChangedAndWhen) {
    const auto database = Open();
    Keep(*database, UploadOfMachine(1, 1));
    const auto changed = UploadOfMachine(1, 1, 40);
    changed->upload.message.mutable_sys_info()->mutable_base_info()->set_host_node("renamed");
    changed->upload.message.mutable_sys_info()->mutable_nw_info()->mutable_if_info(0)->add_if_ipv4(
        "10.0.0.5");
    Keep(*database, changed);
    EXPECT_EQ(Changes(),
              "1700000040123 system host name: host 1 > renamed\n"
              "1700000040123 address 00-00-00-00-00-01:  > 10.0.0.5\n");
}

TEST_F(DatabaseHistory, NothingChangesByTheFirstUploadOrTheSameAgainOrUsageAlone) {
    const auto database = Open();
    Keep(*database, UploadOfMachine(1, 1));
    Keep(*database, UploadOfMachine(1, 1, 40));
    const auto usage = UploadOfMachine(1, 1, 80);
    usage->upload.message.clear_sys_info();
    usage->upload.message.set_cmd(2);
    Keep(*database, usage);
    EXPECT_EQ(Changes(), "");
}

TEST_F(DatabaseHistory, AChangeIsToldAlsoAcrossARestart) {
    Keep(*Open(), UploadOfMachine(1, 1));
    const auto changed = UploadOfMachine(1, 1, 40);
    changed->upload.message.mutable_sys_info()->mutable_base_info()->set_cpu_core(2);
    Keep(*Open(), changed);
    EXPECT_EQ(Changes(), "1700000040123 system processors: 0 > 2\n");
}

TEST_F(DatabaseHistory, TellsLogins) {
    const auto database = Open();
    for (int i = 0; i < 2; ++i) {
        const auto sample = UploadOfMachine(1, 1, i);
        auto& login = *sample->upload.message.mutable_login_info()->add_usr_info();
        login.set_login_name(std::string("bob\0", 4));
        login.set_login_time(std::to_string(i));
        Keep(*database, sample);
    }
    EXPECT_EQ(Changes(), "1700000001123 login : bob at 0 > bob at 1\n");
}

TEST_F(DatabaseHistory, CountsTheUploadsOfAClone) {
    const auto database = Open();
    Keep(*database, UploadOfMachine(1, 1));
    EXPECT_TRUE(Keep(*database, UploadOfMachine(1, 2, 10)));
    EXPECT_TRUE(Keep(*database, UploadOfMachine(1, 2, 20)));
    EXPECT_TRUE(Keep(*database, UploadOfMachine(1, 3, 30)));
    EXPECT_EQ(Rows("SELECT agent_id || ' ' || host_name || ' ' || macs || ' ' || vm_id || ' ' || "
                   "first_seen || ' ' || last_seen || ' ' || uploads FROM clones"),
              "1 host 2 00-00-00-00-00-02 2 1700000010123 1700000020123 2\n"
              "1 host 3 00-00-00-00-00-03 3 1700000030123 1700000030123 1\n");
    EXPECT_EQ(Rows("SELECT count(*) FROM samples"), "1\n");
    EXPECT_EQ(Changes(), "");
}

TEST_F(DatabaseHistory, ASectionThatCannotBeReadAnyMoreChangesNothing) {
    Keep(*Open(), UploadOfMachine(1, 1));
    Do("UPDATE agents SET system = 'no JSON'");
    Keep(*Open(), UploadOfMachine(1, 1, 40));
    EXPECT_EQ(Changes(), "");
    EXPECT_EQ(Ask("SELECT json_extract(system, '$.base_info.host_node') FROM agents"), "host 1");
}

TEST_F(DatabaseHistory, ADatabaseOfTheFirstVersionGetsTheTables) {
    Open();
    Do("DROP TABLE samples; DROP TABLE changes; DROP TABLE clones; PRAGMA user_version = 1");
    Keep(*Open(), UploadOfMachine(1, 1));
    EXPECT_EQ(Rows("SELECT count(*) FROM samples"), "1\n");
}

}  // namespace
}  // namespace kxtest
