// What is kept, and what is known from it.
#include <sys/stat.h>

#include "database_fixture.h"

namespace kxtest {
namespace {

using Database = DatabaseTest;

TEST_F(Database, KeepsAnUploadAsItCame) {
    const auto database = Open();
    const auto sample = UploadOfMachine(42, 1);
    sample->payload += "\x2A\x05\x0A\x03\x12\x01\xFC";  // a login that is not UTF-8
    sample->upload.payload = sample->payload;
    EXPECT_FALSE(Keep(*database, sample));
    EXPECT_EQ(Ask("SELECT count(*) FROM uploads"), "1");
    EXPECT_EQ(Ask("SELECT received_at || ' ' || agent_id || ' ' || source || ' ' || request_id || "
                  "' ' || cmd || ' ' || agent_timestamp || ' ' || duplicate FROM uploads"),
              "1700000000123 42 agt_ei 7 6 1600000000 0");
    EXPECT_EQ(Ask("SELECT payload FROM uploads"), sample->payload);
    EXPECT_EQ(Ask("SELECT typeof(payload) FROM uploads"), "blob");
}

TEST_F(Database, KeepsAnEmptyPayload) {
    const auto database = Open();
    SampleUpload empty;
    std::string fault;
    EXPECT_TRUE(database->keep(empty.upload, fault).has_value()) << fault;
    EXPECT_EQ(Ask("SELECT typeof(payload) || length(payload) FROM uploads"), "blob0");
}

TEST_F(Database, KeepsUploadsInTheirOrder) {
    const auto database = Open();
    Keep(*database, UploadOfMachine(1, 1, 5));
    Keep(*database, UploadOfMachine(2, 2, 4));
    Keep(*database, UploadOfMachine(1, 1, 3));
    EXPECT_EQ(Ask("SELECT group_concat(agent_id) FROM (SELECT * FROM uploads ORDER BY id)"),
              "1,2,1");
}

TEST_F(Database, KeepsTheLatestStateOfEachAgent) {
    const auto database = Open();
    Keep(*database, UploadOfMachine(1, 1));
    Keep(*database, UploadOfMachine(2, 2));
    Keep(*database, UploadOfMachine(1, 1, 60));
    EXPECT_EQ(Ask("SELECT count(*) FROM agents"), "2");
    EXPECT_EQ(Ask("SELECT first_seen || ' ' || last_seen || ' ' || host_name || ' ' || macs || ' ' "
                  "|| vm_id FROM agents WHERE agent_id = 1"),
              "1700000000123 1700000060123 host 1 00-00-00-00-00-01 1");
}

TEST_F(Database, KeepsTheLatestSectionsAsJson) {
    const auto database = Open();
    const auto full = UploadOfMachine(1, 1);
    full->upload.message.mutable_login_info()->add_usr_info()->set_login_name(
        std::string("bob\0", 4));
    Keep(*database, full);
    const auto usage = UploadOfMachine(1, 1);
    usage->upload.message.set_cmd(2);
    usage->upload.message.clear_sys_info();
    usage->upload.message.mutable_rc_info()->set_cpu_usage(9);
    Keep(*database, usage);
    EXPECT_EQ(Ask("SELECT resources FROM agents"),
              "{\"cpu_usage\": 9, \"mem_total\": 0, \"mem_usaged\": 0, \"disk_read_speed\": 0, "
              "\"disk_write_speed\": 0}");
    EXPECT_EQ(Ask("SELECT json_extract(system, '$.base_info.host_node') FROM agents"), "host 1");
    EXPECT_EQ(Ask("SELECT login FROM agents"),
              "{\"usr_info\": [{\"login_time\": \"\", \"login_name\": \"bob\\u0000\", "
              "\"login_ip\": \"\"}]}");
}

TEST_F(Database, ASectionThatNeverCameIsNull) {
    const auto database = Open();
    Keep(*database, UploadOfMachine(1, 1));
    EXPECT_EQ(Ask("SELECT login IS NULL FROM agents"), "1");
}

TEST_F(Database, KeepsTheLargestIdentifiers) {
    const auto database = Open();
    const auto sample = UploadOfMachine(4294967295, 1);
    sample->upload.message.mutable_sys_info()->mutable_base_info()->set_uvmid(
        18446744073709551615U);
    Keep(*database, sample);
    Keep(*database, sample);
    EXPECT_EQ(Ask("SELECT vm_id FROM agents WHERE agent_id = 4294967295"), "18446744073709551615");
}

TEST_F(Database, AnUploadWithoutAnAgentIdIsNoAgents) {
    const auto database = Open();
    EXPECT_FALSE(Keep(*database, UploadOfMachine(0, 1)));
    EXPECT_FALSE(Keep(*database, UploadOfMachine(0, 2)));
    EXPECT_EQ(Ask("SELECT count(*) FROM uploads"), "2");
    EXPECT_EQ(Ask("SELECT count(*) FROM agents"), "0");
}

TEST_F(Database, TellsADuplicateAndKeepsItApart) {
    const auto database = Open();
    EXPECT_FALSE(Keep(*database, UploadOfMachine(1, 1)));
    EXPECT_TRUE(Keep(*database, UploadOfMachine(1, 2, 60)));
    EXPECT_FALSE(Keep(*database, UploadOfMachine(1, 1)));
    EXPECT_EQ(Ask("SELECT group_concat(duplicate) FROM uploads"), "0,1,0");
    EXPECT_EQ(Ask("SELECT host_name || ' ' || last_seen FROM agents"), "host 1 1700000000123");
}

TEST_F(Database, AnUploadWithoutAgentFactsIsNoDuplicate) {
    const auto database = Open();
    Keep(*database, UploadOfMachine(1, 1));
    const auto usage = UploadOfMachine(1, 2);
    usage->upload.message.set_cmd(2);
    EXPECT_FALSE(Keep(*database, usage));
    EXPECT_TRUE(Keep(*database, UploadOfMachine(1, 2)));
}

TEST_F(Database, AMachineThatLosesItsNetworkKeepsItsIdentity) {
    const auto database = Open();
    Keep(*database, UploadOfMachine(1, 1));
    const auto offline = UploadOfMachine(1, 1);
    offline->upload.message.mutable_sys_info()->clear_nw_info();
    Keep(*database, offline);
    EXPECT_TRUE(Keep(*database, UploadOfMachine(1, 2)));
}

TEST_F(Database, KnowsTheMachinesAfterARestart) {
    Keep(*Open(), UploadOfMachine(1, 1));
    const auto database = Open();
    EXPECT_TRUE(Keep(*database, UploadOfMachine(1, 2)));
    EXPECT_FALSE(Keep(*database, UploadOfMachine(1, 1)));
}

TEST_F(Database, AHostNameWithAZeroByteIsComparedWhole) {
    const auto sample = UploadOfMachine(1, 1);
    auto& base = *sample->upload.message.mutable_sys_info()->mutable_base_info();
    base.set_host_node(std::string("a\0b", 3));
    Keep(*Open(), sample);
    const auto database = Open();
    base.set_uvmid(2);
    sample->upload.message.mutable_sys_info()->mutable_nw_info()->mutable_if_info(0)->set_if_mac(
        "00-00-00-00-00-02");
    EXPECT_FALSE(Keep(*database, sample));
}

TEST_F(Database, CanBeReadMeanwhile) {
    const auto database = Open();
    const auto reader = kxemgr::OpenConnection(File(), 0);
    kxemgr::Execute(*reader, "BEGIN; SELECT * FROM uploads");
    Keep(*database, UploadOfMachine(1, 1));
    EXPECT_EQ(kxemgr::QueryNumber(*reader, "SELECT count(*) FROM uploads"), 0);
    kxemgr::Execute(*reader, "COMMIT");
    EXPECT_EQ(kxemgr::QueryNumber(*reader, "SELECT count(*) FROM uploads"), 1);
}

TEST_F(Database, IsItsOwnersAlone) {
    const auto database = Open();
    for (const char* suffix : {"", "-wal", "-shm"}) {
        struct stat facts {};
        ASSERT_EQ(stat((File() + suffix).c_str(), &facts), 0) << suffix;
        EXPECT_EQ(facts.st_mode & 07777, 0600U) << suffix;
    }
}

TEST_F(Database, HasAWriteAheadLogThatIsGoneAfterAGoodEnd) {
    Keep(*Open(), UploadOfMachine(1, 1));
    EXPECT_EQ(Ask("PRAGMA journal_mode"), "wal");
    EXPECT_FALSE(std::filesystem::exists(File() + "-wal"));
}

TEST_F(Database, ANameWithAMeaningForSqliteIsAFileLikeAnyOther) {
    ASSERT_EQ(chdir(InstallationRoot().c_str()), 0);
    std::string fault;
    ASSERT_NE(kxemgr::Database::Open(":memory:", fault), nullptr) << fault;
    EXPECT_GT(std::filesystem::file_size(InstallationRoot() / ":memory:"), 0U);
}

TEST_F(Database, KeepsTheLargestUpload) {
    const auto database = Open();
    const auto sample = UploadOfMachine(1, 1);
    sample->payload.assign(kxapp::kMostUploadBytes, 'x');
    sample->upload.payload = sample->payload;
    Keep(*database, sample);
    EXPECT_EQ(Ask("SELECT length(payload) FROM uploads"), "10485760");
}

}  // namespace
}  // namespace kxtest
