// What is remembered without a database, what is read of one, and the questions to both.
#include "kxemgr/console/store.h"

#include <gmock/gmock.h>

#include <thread>

#include "installation.h"
#include "kxemgr/console/queries.h"
#include "kxemgr/database.h"
#include "uploads.h"

namespace kxtest {
namespace {

using kxemgr::console::AgentDetail;
using kxemgr::console::AgentSummary;
using kxemgr::console::FileStore;
using kxemgr::console::History;
using kxemgr::console::MemoryStore;
using kxemgr::console::QueryAgent;
using kxemgr::console::QueryAgents;
using kxemgr::console::QueryHistory;
using kxemgr::console::Store;

std::vector<AgentSummary> Agents(Store& store) {
    std::vector<AgentSummary> agents;
    store.read([&](sqlite3& connection) { agents = QueryAgents(connection); });
    return agents;
}

std::optional<AgentDetail> Agent(Store& store, std::uint32_t id) {
    std::optional<AgentDetail> agent;
    store.read([&](sqlite3& connection) { agent = QueryAgent(connection, id); });
    return agent;
}

History Usage(Store& store, std::int64_t from, std::int64_t to, std::int64_t points) {
    History history;
    store.read(
        [&](sqlite3& connection) { history = QueryHistory(connection, 1, from, to, points); });
    return history;
}

std::int64_t Number(Store& store, const char* sql) {
    std::int64_t number = 0;
    store.read([&](sqlite3& connection) { number = kxemgr::QueryNumber(connection, sql); });
    return number;
}

TEST(MemoryStore, KnowsAgentsTheLatestHeardOfFirst) {
    MemoryStore store;
    store.record(MakeUpload(1, 1000, "a"));
    store.record(MakeUpload(4294967295, 2000, "b", 2));
    store.record(MakeUsage(1, 3000, 99));
    const auto agents = Agents(store);
    ASSERT_EQ(agents.size(), 2U);
    EXPECT_EQ(agents[0].id, 1U);
    EXPECT_EQ(agents[0].host_name, "a");
    EXPECT_EQ(agents[0].distribution, "Debian 12");
    EXPECT_EQ(agents[0].agent_version, "3.2.10");
    EXPECT_EQ(agents[0].first_seen, 1000);
    EXPECT_EQ(agents[0].last_seen, 3000);
    EXPECT_EQ(agents[0].usage->cpu, 99);
    EXPECT_EQ(agents[0].usage->memory_used, 1000);
    EXPECT_EQ(agents[0].usage->memory_total, 4000);
    EXPECT_EQ(agents[0].clone_uploads, 0);
    EXPECT_EQ(agents[1].id, 4294967295U);
}

TEST(MemoryStore, KnowsOneAgentWithItsChangesAndClones) {
    MemoryStore store;
    store.record(MakeUpload(1, 1000, "a"));
    store.record(MakeUpload(1, 2000, "b"));
    store.record(MakeUpload(1, 3000, "c"));
    store.record(MakeUpload(1, 4000, "other", 2));
    const auto agent = Agent(store, 1);
    ASSERT_TRUE(agent.has_value());
    EXPECT_THAT(agent->system, testing::HasSubstr("\"host_node\": \"c\""));
    EXPECT_EQ(agent->login, "");
    ASSERT_EQ(agent->changes.size(), 2U);
    EXPECT_EQ(agent->changes[0].time, 3000);
    EXPECT_EQ(agent->changes[0].change, (kxemgr::Change{"system", "host name", "b", "c"}));
    ASSERT_EQ(agent->clones.size(), 1U);
    EXPECT_EQ(agent->clones[0].host_name, "other");
    EXPECT_EQ(agent->summary.clone_uploads, 1);
    EXPECT_EQ(agent->summary.last_clone, 4000);
    EXPECT_EQ(agent->summary.last_seen, 3000);
    EXPECT_EQ(Agent(store, 2), std::nullopt);
}

TEST(MemoryStore, ForgetsEverythingWhenItIsFull) {
    MemoryStore store(2 * 1024 * 1024);
    store.record(MakeUpload(1, 1000));
    for (std::uint32_t id = 2; Agent(store, 1).has_value(); ++id) {
        ASSERT_LT(id, 20U);
        store.record(MakeUpload(id, 2000, std::string(300'000, 'x')));
    }
    EXPECT_EQ(Agents(store).size(), 1U);
    store.record(MakeUpload(1, 3000));
    EXPECT_EQ(Agents(store).size(), 2U);
}

TEST(MemoryStore, DoesNotTakeAnUploadThatIsTooLargeByItself) {
    MemoryStore store(2 * 1024 * 1024);
    EXPECT_THROW(store.record(MakeUpload(1, 1000, std::string(3'000'000, 'x'))),
                 kxemgr::SqliteError);
    store.record(MakeUpload(1, 1000));
    EXPECT_EQ(Agents(store).size(), 1U);
}

TEST(MemoryStore, ForgetsTheOldestOfTooMany) {
    MemoryStore store;
    // As if all of them had come before.
    store.read([](sqlite3& connection) {
        kxemgr::Execute(connection, "BEGIN");
        const auto fill = [&](const std::string& insert, int count) {
            kxemgr::Execute(connection, ("WITH RECURSIVE n (i) AS (SELECT 1 UNION ALL SELECT i + 1 "
                                         "FROM n WHERE i < " +
                                         std::to_string(count) + ") " + insert)
                                            .c_str());
        };
        fill("INSERT INTO samples SELECT 7, i, 1, 1, 1 FROM n", MemoryStore::kMostSamples + 9);
        fill("INSERT INTO changes SELECT i, 7, i, 'a', 'b', 'c', 'd' FROM n",
             MemoryStore::kMostChanges + 9);
        fill("INSERT INTO clones SELECT 7, i, '', '', i, i, 1 FROM n",
             MemoryStore::kMostClones + 9);
        fill("INSERT INTO agents SELECT i + 100, i, i, '', '', '', NULL, NULL, NULL FROM n",
             MemoryStore::kMostAgents + 9);
        kxemgr::Execute(connection, "COMMIT");
    });
    for (unsigned i = 0; i < MemoryStore::kTrimEvery; ++i) {
        store.record(MakeUsage(1, 1'000'000 + i, 1));
    }
    EXPECT_EQ(Number(store, "SELECT count(*) FROM samples"), MemoryStore::kMostSamples);
    EXPECT_EQ(Number(store, "SELECT count(*) FROM changes"), MemoryStore::kMostChanges);
    EXPECT_EQ(Number(store, "SELECT count(*) FROM clones"), MemoryStore::kMostClones);
    EXPECT_EQ(Number(store, "SELECT count(*) FROM agents"), MemoryStore::kMostAgents);
    EXPECT_EQ(Number(store, "SELECT count(*) FROM samples WHERE agent_id = 1"), 256);
    EXPECT_EQ(Number(store, "SELECT count(*) FROM agents WHERE agent_id = 1"), 1);
    EXPECT_EQ(Number(store, "SELECT max(id) FROM changes"), MemoryStore::kMostChanges + 9);
}

TEST(MemoryStore, IsReadWhileItIsWritten) {
    MemoryStore store;
    std::thread writer([&store] {
        for (int i = 0; i < 300; ++i) {
            store.record(MakeUsage(1, i, 1));
        }
    });
    while (Number(store, "SELECT count(*) FROM samples") < 300) {
    }
    writer.join();
    EXPECT_EQ(Usage(store, 0, 300, 300).points.size(), 300U);
}

TEST(UsageHistory, IsAveragedOverEqualSteps) {
    MemoryStore store;
    for (int i = 0; i < 10; ++i) {
        store.record(MakeUsage(1, 1000 + i * 10, static_cast<std::uint32_t>(100 * i)));
    }
    store.record(MakeUsage(2, 1005, 9999));
    const History history = Usage(store, 1000, 1100, 2);
    EXPECT_EQ(history.from, 1000);
    EXPECT_EQ(history.to, 1100);
    EXPECT_EQ(history.step, 50);
    ASSERT_EQ(history.points.size(), 2U);
    EXPECT_EQ(history.points[0].time, 1040);
    EXPECT_EQ(history.points[0].cpu, 200);
    EXPECT_EQ(history.points[0].cpu_highest, 400);
    EXPECT_EQ(history.points[0].memory_used, 1000);
    EXPECT_EQ(history.points[0].memory_total, 4000);
    EXPECT_EQ(history.points[1].time, 1090);
    EXPECT_EQ(history.points[1].cpu, 700);
}

TEST(UsageHistory, HoldsFromAndNotTo) {
    MemoryStore store;
    for (const int time : {999, 1000, 1099, 1100}) {
        store.record(MakeUsage(1, time, 1));
    }
    const History history = Usage(store, 1000, 1100, 100);
    ASSERT_EQ(history.points.size(), 2U);
    EXPECT_EQ(history.points[0].time, 1000);
    EXPECT_EQ(history.points[1].time, 1099);
}

TEST(UsageHistory, HasNeverMorePointsThanAskedFor) {
    MemoryStore store;
    for (int i = 0; i < 101; ++i) {
        store.record(MakeUsage(1, i, 1));
    }
    EXPECT_EQ(Usage(store, 0, 101, 100).step, 2);
    EXPECT_EQ(Usage(store, 0, 101, 100).points.size(), 51U);
    EXPECT_EQ(Usage(store, 0, 101, 1).points.size(), 1U);
    EXPECT_EQ(Usage(store, 200, 300, 10).points.size(), 0U);
}

using FileStoreTest = InstallationTest;

TEST_F(FileStoreTest, ReadsWhatTheManagerKeepsMeanwhile) {
    const std::string file = (InstallationRoot() / "uploads.db").string();
    std::string fault;
    const auto database = kxemgr::Database::Open(file, fault);
    ASSERT_NE(database, nullptr) << fault;
    FileStore store(file);
    EXPECT_EQ(Agents(store).size(), 0U);
    const auto keep = [&](const kxapp::Upload& upload) {
        EXPECT_TRUE(database->keep(upload, fault).has_value()) << fault;
    };
    keep(MakeUpload(1, 1000));
    EXPECT_EQ(Agents(store).size(), 1U);
    // A reader in the middle of its answer holds nobody up.
    store.read([&](sqlite3& connection) {
        kxemgr::Execute(connection, "BEGIN; SELECT * FROM agents");
        keep(MakeUpload(2, 2000, "b", 2));
        EXPECT_EQ(QueryAgents(connection).size(), 1U);
    });
    EXPECT_EQ(Agents(store).size(), 2U);
}

TEST_F(FileStoreTest, WritesNothing) {
    const std::string file = (InstallationRoot() / "uploads.db").string();
    std::string fault;
    const auto database = kxemgr::Database::Open(file, fault);
    FileStore store(file);
    EXPECT_THROW(
        store.read([](sqlite3& connection) { kxemgr::Execute(connection, "DELETE FROM agents"); }),
        kxemgr::SqliteError);
}

TEST_F(FileStoreTest, AFileThatIsGoneIsToldToWhoAsks) {
    FileStore store((InstallationRoot() / "absent.db").string());
    EXPECT_THROW(Agents(store), kxemgr::SqliteError);
}

}  // namespace
}  // namespace kxtest
