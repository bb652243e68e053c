// Host, manager and configuration centre, killed at random moments while all of them work, and
// started again at once.
//
// In the environment, KX_KILLS tells how many are killed, and KX_SEED makes the moments those of an
// earlier run, as far as the machine lets it.
#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <random>
#include <set>

#include "bus_name.h"
#include "kxemgr/sqlite.h"
#include "quiet_machine.h"
#include "traffic.h"
#include "wholeness.h"

namespace fs = std::filesystem;

namespace kxtest {
namespace {

// Sanitizers make a round several times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int kFewKills = 4;
#else
constexpr int kFewKills = 16;
#endif
constexpr int kLongestWaitUs = 150'000;
constexpr unsigned kTellEvery = 50;

unsigned FromEnvironment(const char* name, unsigned otherwise) {
    const char* const text = std::getenv(name);
    return text == nullptr ? otherwise : static_cast<unsigned>(std::atoll(text));
}

// One of the agent's programs, and its name on the bus.
struct Part {
    const char* program;
    const char* bus_name;
    std::vector<std::string> arguments;
    Program::Options options;
    std::optional<Program> process = std::nullopt;
    int kills = 0;
};

// Uploads, each by when it was received and by its number on its connection.
using Uploads = std::set<std::pair<std::string, long long>>;

class Crash : public AgentTest {
  protected:
    void SetUp() override {
        m_own_machine = EnterOwnNetwork() && AddInterface("a", "10.1.0.1/24");
        installation().write("config/net_config.ini", kForeign);
        installation().write("config/cfgc.ini", Configuration(0));
        for (const char* file : {KX_PEER, KX_NEIGHBOUR, KX_UPLOAD_SENDER}) {
            const fs::path program(file);
            fs::create_hard_link(program, installation().program(program.filename().string()));
        }
    }

    std::string Database() const { return installation().path("var/uploads.db").string(); }
    Part& Manager() { return m_parts[1]; }

    // As after a crash: what a killed one has left is still there. The name must be free, since a
    // program that is refused it does not try again.
    void Start(Part& part) {
        part.process.emplace(installation().program(part.program), part.arguments, part.options);
        EXPECT_TRUE(WaitUntil([&] {
            return !part.process->running() ||
                   HolderOfBusName(installation().path("var/run/ipc"), part.bus_name) ==
                       part.process->pid();
        }));
        ASSERT_TRUE(part.process->running())
            << part.program << " has ended: " << part.process->errors();
    }

    void Kill(Part& part) {
        part.process->signal(SIGKILL);
        ASSERT_EQ(part.process->wait(), 128 + SIGKILL)
            << part.program << " had ended before: " << part.process->errors();
        ++part.kills;
        if (&part == &Manager()) {
            KeepAcknowledged();
        }
    }

    // All that the manager has given a good answer to: it prints an upload before it answers.
    void KeepAcknowledged() {
        const std::string output = Manager().process->output();
        EXPECT_EQ(FaultOfJsonLines(output), "");
        for (const std::string& line : Manager().process->wait_for_lines(0)) {
            const Json upload = ParseJson(line);
            if (Number(upload.get(), "answer.status") == 1) {
                m_acknowledged.emplace(Text(upload.get(), "received"),
                                       Number(upload.get(), "request_id"));
            }
        }
    }

    // While the manager is there, so that looking does not end the write-ahead log. `accepted` are
    // the other agent's uploads of which it has been told that they are.
    void CheckDatabase(const std::set<std::int64_t>& accepted) {
        const kxemgr::Connection connection = kxemgr::OpenConnection(Database(), 60'000);
        kxemgr::Statement check(*connection, "PRAGMA integrity_check");
        ASSERT_TRUE(check.step());
        EXPECT_EQ(check.text(0), "ok");
        Uploads kept;
        std::set<std::int64_t> kept_of_other;
        m_kept_of_host = 0;
        kxemgr::Statement uploads(
            *connection,
            "SELECT strftime('%Y-%m-%dT%H:%M:%S', received_at / 1000, 'unixepoch') || "
            "printf('.%03dZ', received_at % 1000), request_id, source, agent_timestamp "
            "FROM uploads");
        while (uploads.step()) {
            kept.emplace(uploads.text(0), uploads.number(1));
            if (uploads.text(2) == Traffic::kSender) {
                kept_of_other.insert(uploads.number(3));
            } else {
                ++m_kept_of_host;
            }
        }
        EXPECT_TRUE(std::ranges::includes(kept, m_acknowledged));
        EXPECT_TRUE(std::ranges::includes(kept_of_other, accepted));
    }

    // The number of the configuration that is mirrored.
    int CheckMirror() const {
        int number = -1;
        const std::string text = installation().read("config/net_config.ini");
        EXPECT_EQ(FaultOfMirror(text, number), "") << text;
        return number;
    }

    void CheckFiles() {
        const int mirrored = CheckMirror();
        EXPECT_GE(mirrored, m_mirrored) << "an old configuration has come back";
        m_mirrored = mirrored;
        const std::string record = installation().read("config/server_port.ini");
        EXPECT_EQ(FaultOfAddressRecord(record), "") << record;
        EXPECT_EQ(installation().read("config/agent_id"), m_agent_id);
        EXPECT_EQ(FaultOfJsonLines(installation().read("var/trace/events.jsonl")), "");
        // The host and its neighbour may be writing just now, and one may be left of the last kill.
        EXPECT_LE(CountUnfinished(installation().path("config"), "net_config.ini"), 3);
        EXPECT_LE(CountUnfinished(installation().path("config"), "server_port.ini"), 2);
    }

    std::size_t CountUploadsOfHost() {
        return CountOf(Manager().process->output(), R"("from": "agt_ei")");
    }

    // The host's uploads arrive, and so does the configuration.
    void CheckItWorks(const Traffic& traffic) {
        const std::size_t uploads = CountUploadsOfHost();
        const int configuration = traffic.configuration();
        EXPECT_TRUE(WaitUntil([&] { return CountUploadsOfHost() > uploads; }))
            << "the host's uploads do not arrive";
        EXPECT_TRUE(WaitUntil([&] { return CheckMirror() >= configuration; }))
            << "the configuration does not arrive";
    }

    // All lines there are: fewer than the log keeps.
    void CheckLog(int host_kills) const {
        std::size_t accepted = 0;
        int all_torn = 0;
        for (const auto& file :
             fs::directory_iterator(installation().path("var/log/agent/kxepinfo"))) {
            std::ifstream stream(file.path(), std::ios::binary);
            const std::string text{std::istreambuf_iterator<char>(stream), {}};
            int torn = 0;
            EXPECT_EQ(FaultOfLog(text, torn), "");
            all_torn += torn;
            accepted += CountOf(text, "> to mgr success");
            EXPECT_EQ(CountOf(text, "cannot join the bus"), 0U);
        }
        EXPECT_LE(all_torn, host_kills);
        EXPECT_GT(accepted, 0U);
        EXPECT_LE(accepted, m_kept_of_host) << "the host knows of more uploads than the database";
        std::cout << accepted << " uploads were acknowledged to the host, " << m_kept_of_host
                  << " are kept; torn lines in its log: " << all_torn << std::endl;
    }

    bool m_own_machine = false;
    Part m_parts[3] = {
        {"kxehost", "agt_ei", {}, QuickTime()},
        {"kxemgr", "mgr_ei", {"--json", "--db", Database()}, {}},
        {"kxecfgc", "agt_cfgc", {}, {}},
    };
    std::string m_agent_id;
    int m_mirrored = 0;
    Uploads m_acknowledged;
    std::size_t m_kept_of_host = 0;
};

TEST_F(Crash, LeavesAllFilesWholeAndAllNamesFree) {
    const unsigned kills = FromEnvironment("KX_KILLS", kFewKills);
    const unsigned seed = FromEnvironment("KX_SEED", std::random_device()());
    std::cout << "seed " << seed << std::endl;
    std::mt19937 random(seed);
    for (auto part = std::rbegin(m_parts); part != std::rend(m_parts); ++part) {
        ASSERT_NO_FATAL_FAILURE(Start(*part));
    }
    const Agent& agent = *this;
    std::optional<Traffic> traffic(std::in_place, agent, m_own_machine);
    ASSERT_TRUE(WaitUntil([&] {
        return installation().read("config/net_config.ini").find("[multi_ip]") != std::string::npos;
    }));
    m_agent_id = installation().read("config/agent_id");
    for (unsigned round = 1; round <= kills && !HasFailure(); ++round) {
        Part& victim = m_parts[random() % std::size(m_parts)];
        const std::string circumstances = "round " + std::to_string(round) + ", " + victim.program;
        SCOPED_TRACE(circumstances);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % kLongestWaitUs));
        ASSERT_NO_FATAL_FAILURE(Kill(victim));
        CheckFiles();
        ASSERT_NO_FATAL_FAILURE(Start(victim));
        CheckItWorks(*traffic);
        CheckFiles();
        CheckDatabase(traffic->accepted());
        if (round % kTellEvery == 0) {
            std::cout << round << " killed" << std::endl;
        }
    }
    CheckItWorks(*traffic);
    const std::set<std::int64_t> accepted = traffic->accepted();
    traffic.reset();
    for (const Part& part : m_parts) {
        std::cout << part.program << " was killed " << part.kills << " times" << std::endl;
    }
    EXPECT_EQ(m_parts[0].process->stop(), 0);
    EXPECT_EQ(m_parts[2].process->stop(), 0);
    KeepAcknowledged();
    CheckFiles();
    CheckDatabase(accepted);
    std::cout << accepted.size() << " uploads were acknowledged to the other agent" << std::endl;
    CheckLog(m_parts[0].kills);
    EXPECT_EQ(Manager().process->stop(), 0);
    EXPECT_EQ(CountUnfinished(installation().path("config"), "net_config.ini"), 0);
}

}  // namespace
}  // namespace kxtest
