// The console over HTTP, in front of a real manager that a real host uploads to.
#include "agent.h"

#include <fcntl.h>
#include <httplib.h>
#include <sys/stat.h>

#include "kxemgr/sqlite.h"

namespace kxtest {
namespace {

class ConsoleTest : public AgentTest {
  protected:
    // With the console at a free port, found by what the manager says of it.
    httplib::Client StartConsole(std::vector<std::string> arguments = {}) {
        arguments.insert(arguments.begin(), {"--http", "127.0.0.1:0"});
        Program& started = StartManager(std::move(arguments));
        const std::string words = "console at http://127.0.0.1:";
        EXPECT_TRUE(WaitUntil([&] { return started.errors().find(words) != std::string::npos; }));
        const std::string errors = started.errors();
        return httplib::Client("127.0.0.1",
                               std::stoi(errors.substr(errors.find(words) + words.size())));
    }
    std::string database() const { return installation().path("var/uploads.db").string(); }

    static Json Get(httplib::Client& browser, const std::string& path) {
        const auto response = browser.Get(path);
        EXPECT_TRUE(response) << path;
        EXPECT_EQ(response ? response->status : 0, 200) << path;
        return ParseJson(response ? response->body : "");
    }
    // Sends uploads in JSON, and waits for the answers.
    std::string Upload(const std::string& lines) const {
        const auto program = installation().program("uploader");
        if (!std::filesystem::exists(program)) {
            std::filesystem::create_hard_link(KX_CONSOLE_UPLOADER, program);
        }
        Program::Options options;
        options.standard_input = lines;
        const Finished finished = RunToEnd(program, {}, options);
        EXPECT_EQ(finished.status, 0) << finished.errors;
        return finished.output;
    }
};

TEST_F(ConsoleTest, ShowsTheMachineThatAHostReports) {
    auto browser = StartConsole({"--db", database()});
    StartQuickHost();
    const Json upload = ConsoleTest::AgentTest::Upload(0);
    ASSERT_NE(upload, nullptr);
    const long long id = Number(upload.get(), "epinfo.agent_id");
    (void)manager().wait_for_lines(4);

    const Json all = Get(browser, "/api/agents");
    EXPECT_EQ(Number(all.get(), "agents.0.id"), id);
    EXPECT_EQ(Text(all.get(), "agents.0.host_name"),
              Text(upload.get(), "epinfo.sys_info.base_info.host_node"));
    EXPECT_TRUE(json_is_true(Member(all.get(), "agents.0.online")));

    const Json one = Get(browser, "/api/agents/" + std::to_string(id));
    EXPECT_TRUE(json_equal(Member(one.get(), "system.base_info"),
                           Member(upload.get(), "epinfo.sys_info.base_info")));
    EXPECT_TRUE(json_equal(Member(one.get(), "system.nw_info.if_info"),
                           Member(upload.get(), "epinfo.sys_info.nw_info.if_info")));

    const Json history = Get(browser, "/api/agents/" + std::to_string(id) + "/history?points=2000");
    EXPECT_GE(json_array_size(Member(history.get(), "time")), 1U);
    EXPECT_GT(Number(history.get(), "memory_total_kib.0"), 0);
    EXPECT_NE(browser.Get("/metrics")
                  ->body.find("kxemgr_agent_online{agent=\"" + std::to_string(id) + "\"} 1\n"),
              std::string::npos);
}

TEST_F(ConsoleTest, SendsEachUploadAsAnEvent) {
    auto browser = StartConsole();
    StartQuickHost();
    std::string events;
    (void)browser.Get("/api/events", [&](const char* data, std::size_t size) {
        events.append(data, size);
        return CountOf(events, "event: upload\n") < 3;
    });
    EXPECT_EQ(CountOf(events, "event: hello\n"), 1U);
    EXPECT_GE(CountOf(events, "\"accepted\": true, \"duplicate\": false"), 3U);
}

TEST_F(ConsoleTest, KnowsTheHistoryAfterARestart) {
    StartConsole({"--db", database()});
    EXPECT_EQ(Upload(R"({"cmd":4,"agent_id":7,"sys_info":{"base_info":{"host_node":"a"}}})"
                     "\n"
                     R"({"cmd":4,"agent_id":7,"sys_info":{"base_info":{"host_node":"b"}}})"
                     "\n"),
              "1 0\n1 0\n");
    EXPECT_EQ(manager().stop(), 0);
    auto browser = StartConsole({"--db", database()});
    const Json agent = Get(browser, "/api/agents/7");
    EXPECT_EQ(Text(agent.get(), "changes.0.before"), "a");
    EXPECT_EQ(Text(agent.get(), "changes.0.after"), "b");
}

TEST_F(ConsoleTest, DeletesWhatIsOlderThanItIsToBeKept) {
    StartConsole({"--db", database()});
    EXPECT_EQ(Upload("{\"cmd\":2,\"agent_id\":7,\"rc_info\":{\"cpu_usage\":1}}\n"), "1 0\n");
    EXPECT_EQ(manager().stop(), 0);
    {
        const auto connection = kxemgr::OpenConnection(database(), 0);
        kxemgr::Execute(*connection,
                        "UPDATE uploads SET received_at = received_at - 172800000; "
                        "UPDATE samples SET received_at = received_at - 172800000");
    }
    auto browser = StartConsole({"--db", database(), "--keep", "1"});
    const auto reader = kxemgr::OpenReader(database(), 0);
    EXPECT_TRUE(WaitUntil([&] {
        return kxemgr::QueryNumber(*reader,
                                   "SELECT (SELECT count(*) FROM uploads) + (SELECT "
                                   "count(*) FROM samples)") == 0;
    }));
    EXPECT_EQ(Number(Get(browser, "/api/agents").get(), "agents.0.id"), 7);
}

TEST_F(ConsoleTest, StopsAtOnceWithReadersOfEventsThere) {
    auto browser = StartConsole();
    (void)browser.Get("/api/events", [&](const char*, std::size_t) {
        manager().signal(SIGTERM);
        return true;
    });
    EXPECT_EQ(manager().wait(), 0);
}

TEST_F(ConsoleTest, ASlowReaderHoldsNoUploadUp) {
    auto browser = StartConsole();
    bool uploaded = false;
    (void)browser.Get("/api/events", [&](const char*, std::size_t) {
        // Nothing more is read of this connection until all are answered.
        if (!uploaded) {
            std::string lines;
            for (int i = 0; i < 3000; ++i) {
                lines += "{\"cmd\":2,\"agent_id\":7,\"rc_info\":{\"cpu_usage\":1}}\n";
            }
            EXPECT_EQ(CountOf(Upload(lines), "1 0\n"), 3000U);
            uploaded = true;
        }
        return false;
    });
    EXPECT_TRUE(uploaded);
}

TEST_F(ConsoleTest, WrongArgumentsAreOneLine) {
    const auto errors = [this](std::vector<std::string> arguments) {
        const Finished finished = RunToEnd(installation().program("kxemgr"), std::move(arguments));
        EXPECT_EQ(finished.status, 64);
        return finished.errors;
    };
    EXPECT_EQ(
        errors({"--http", "nowhere"}),
        "kxemgr: --http: 'nowhere' is not an address and a port, as 127.0.0.1:8627; see kxemgr "
        "--help\n");
    EXPECT_EQ(errors({"--keep", "1"}), "kxemgr: --keep requires --db; see kxemgr --help\n");
    EXPECT_EQ(errors({"--db", "x", "--keep", "0"}),
              "kxemgr: --keep: '0' is not a number from 1 to 36500; see kxemgr --help\n");
    EXPECT_EQ(errors({"--offline-after", "5"}),
              "kxemgr: --offline-after requires --http; see kxemgr --help\n");
}

TEST_F(ConsoleTest, OthersReachItOnlyWithAToken) {
    const Finished finished = RunToEnd(installation().program("kxemgr"), {"--http", "0.0.0.0:0"});
    EXPECT_EQ(finished.status, 1);
    EXPECT_EQ(finished.errors,
              "kxemgr: cannot start the console: an address that other machines reach needs "
              "--http-token-file\n");
}

}  // namespace
}  // namespace kxtest
