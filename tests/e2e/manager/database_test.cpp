// The manager's database, in the real program.
#include <gmock/gmock.h>
#include <signal.h>

#include <optional>
#include <random>
#include <set>
#include <sstream>

#include "e2e.h"

#include "kxemgr/sqlite.h"

namespace kxtest {
namespace {

class ManagerDatabase : public ::testing::Test {
  protected:
    ManagerDatabase() {
        std::filesystem::create_hard_link(KX_UPLOAD_SENDER, m_installation.program("sender"));
    }

    std::string file() const { return m_installation.path("var/uploads.db").string(); }

    // Listening when this returns. A socket that a killed manager left behind goes first: it could
    // be taken for the new one.
    Program& StartManager() {
        std::filesystem::remove(m_installation.path("var/run/ipc/mgr_ei.sock"));
        m_manager.emplace(m_installation.program("kxemgr"),
                          std::vector<std::string>{"--db", file()});
        EXPECT_TRUE(m_installation.wait_for_bus("mgr_ei"));
        return *m_manager;
    }
    Program& StartSender(const std::string& machine, int first, int count) {
        return m_sender.emplace(
            m_installation.program("sender"),
            std::vector<std::string>{machine, std::to_string(first), std::to_string(count)});
    }
    // What a sender of that machine is answered to one upload.
    std::string AnswerTo(const std::string& machine) {
        Program& sender = StartSender(machine, 1, 1);
        EXPECT_EQ(sender.wait(), 0) << sender.errors();
        return sender.output();
    }

    // To a copy of the files, so that the next manager finds them as the last one left them.
    kxemgr::Connection Connect() const {
        const std::string copy = m_installation.path("var/copy.db").string();
        for (const char* suffix : {"", "-wal"}) {
            std::filesystem::remove(copy + suffix);
            if (std::filesystem::exists(file() + suffix)) {
                std::filesystem::copy_file(file() + suffix, copy + suffix);
            }
        }
        return kxemgr::OpenConnection(copy, 0);
    }

    AgentInstallation m_installation;

  private:
    std::optional<Program> m_manager;
    std::optional<Program> m_sender;
};

// The numbers of the uploads that were accepted.
std::set<std::int64_t> Accepted(const std::string& output) {
    std::set<std::int64_t> numbers;
    std::istringstream lines(output);
    std::int64_t number = 0;
    int status = 0;
    int duplicate = 0;
    while (lines >> number >> status >> duplicate) {
        EXPECT_EQ(status, 1) << number;
        numbers.insert(number);
    }
    return numbers;
}

std::set<std::int64_t> Kept(sqlite3& connection) {
    std::set<std::int64_t> numbers;
    kxemgr::Statement statement(connection, "SELECT agent_timestamp FROM uploads");
    while (statement.step()) {
        numbers.insert(statement.number(0));
    }
    return numbers;
}

std::string Check(sqlite3& connection) {
    kxemgr::Statement statement(connection, "PRAGMA integrity_check");
    return statement.step() ? statement.text(0) : "nothing";
}

// Agents whose latest state is not that of their last upload.
std::int64_t AgentsBehind(sqlite3& connection) {
    return kxemgr::QueryNumber(
        connection,
        "SELECT count(*) FROM agents WHERE json_extract(resources, '$.cpu_usage') <> (SELECT "
        "agent_timestamp FROM uploads WHERE agent_id = agents.agent_id ORDER BY id DESC LIMIT 1)");
}

TEST_F(ManagerDatabase, HoldsAllThatWasAcknowledgedWhenTheManagerIsKilled) {
    constexpr int kRounds = 8;
    constexpr int kNumbersOfARound = 1'000'000;
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    std::set<std::int64_t> accepted;
    for (int round = 0; round < kRounds; ++round) {
        Program& manager = StartManager();
        Program& sender = StartSender("1", round * kNumbersOfARound + 1, 0);
        sender.wait_for_lines(std::uniform_int_distribution<std::size_t>(1, 60)(random));
        manager.signal(SIGKILL);
        ASSERT_EQ(manager.wait(), 128 + SIGKILL) << manager.errors();
        ASSERT_EQ(sender.wait(), 0) << sender.errors();
        ASSERT_THAT(sender.output(), testing::EndsWith("lost\n"));
        const std::set<std::int64_t> of_this_round = Accepted(sender.output());
        ASSERT_FALSE(of_this_round.empty());
        accepted.insert(of_this_round.begin(), of_this_round.end());

        const kxemgr::Connection connection = Connect();
        ASSERT_EQ(Check(*connection), "ok");
        ASSERT_THAT(Kept(*connection), testing::IsSupersetOf(accepted));
        ASSERT_EQ(AgentsBehind(*connection), 0);
    }
}

TEST_F(ManagerDatabase, TellsACloneAfterTheManagerWasKilled) {
    Program& first = StartManager();
    EXPECT_EQ(AnswerTo("1"), "1 1 0\n");
    first.signal(SIGKILL);
    first.wait();
    StartManager();
    EXPECT_EQ(AnswerTo("2"), "1 1 1\n");
    EXPECT_EQ(AnswerTo("1"), "1 1 0\n");
}

TEST_F(ManagerDatabase, EndsWithItsLogFolded) {
    Program& manager = StartManager();
    EXPECT_EQ(AnswerTo("1"), "1 1 0\n");
    EXPECT_EQ(manager.stop(), 0);
    EXPECT_FALSE(std::filesystem::exists(file() + "-wal"));
    EXPECT_EQ(Kept(*Connect()), std::set<std::int64_t>{1});
}

TEST_F(ManagerDatabase, ThatCannotBeOpenedIsOneLine) {
    m_installation.write("var/uploads.db", "this is no database at all");
    const Finished finished = RunToEnd(m_installation.program("kxemgr"), {"--db", file()});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.output, "");
    EXPECT_EQ(finished.errors,
              "kxemgr: cannot open the database " + file() + ": file is not a database\n");
}

TEST_F(ManagerDatabase, WithoutANameIsAWrongArgument) {
    const Finished finished = RunToEnd(m_installation.program("kxemgr"), {"--db", ""});
    EXPECT_EQ(finished.status, 64);
    EXPECT_EQ(finished.errors, "kxemgr: --db: no file is named; see kxemgr --help\n");
}

}  // namespace
}  // namespace kxtest
