// What is found under which path, and by whom.
#include "kxemgr/console/site.h"

#include <gmock/gmock.h>

#include <vector>

#include "uploads.h"

namespace kxtest {
namespace {

using kxemgr::console::Answer;
using kxemgr::console::Counters;
using kxemgr::console::Feed;
using kxemgr::console::FileStore;
using kxemgr::console::MemoryStore;
using kxemgr::console::Question;
using kxemgr::console::Rules;
using kxemgr::console::Site;
using testing::HasSubstr;
using testing::StartsWith;

class ConsoleSite : public ::testing::Test {
  protected:
    Answer Ask(std::string_view path, std::map<std::string, std::string> parameters = {}) const {
        return site.answer({path, std::move(parameters), {"GET", "localhost", "", "", "", false}});
    }

    MemoryStore store;
    Feed feed;
    Counters counters;
    Site site{store, feed, counters, {}, 120'000, "0.1.0"};
};

TEST_F(ConsoleSite, ThePageIsMadeOfFixedFiles) {
    const Answer page = Ask("/");
    EXPECT_EQ(page.status, 200);
    EXPECT_EQ(page.type, "text/html; charset=utf-8");
    EXPECT_THAT(std::string(page.fixed), StartsWith("<!doctype html>"));
    for (const auto& [path, type] : std::vector<std::pair<const char*, const char*>>{
             {"/console.js", "text/javascript; charset=utf-8"},
             {"/console.css", "text/css; charset=utf-8"},
             {"/uplot.js", "text/javascript; charset=utf-8"},
             {"/favicon.svg", "image/svg+xml"}}) {
        EXPECT_EQ(Ask(path).type, type) << path;
        EXPECT_FALSE(Ask(path).fixed.empty()) << path;
    }
}

TEST_F(ConsoleSite, ThePageLoadsNothingFromElsewhereAndHoldsNoScript) {
    const std::string page(Ask("/").fixed);
    EXPECT_EQ(page.find("//"), std::string::npos);
    EXPECT_EQ(page.find("style="), std::string::npos);
    EXPECT_EQ(page.find("onclick"), std::string::npos);
    for (std::size_t at = page.find("<script"); at != std::string::npos;
         at = page.find("<script", at + 1)) {
        EXPECT_EQ(page.substr(at, 14), "<script src=\"/");
    }
}

TEST_F(ConsoleSite, NothingElseIsThere) {
    for (const char* path :
         {"", "/index.html", "/api", "/api/", "/api/agents/", "/api/agents/1/", "/api/agents/x",
          "/api/agents/-1", "/api/agents/4294967296", "/api/agents/1/history/", "/../etc/passwd",
          "/api/agents/18446744073709551616/history", "/metrics/", "//"}) {
        const Answer answer = Ask(path);
        EXPECT_EQ(answer.status, 404) << path;
        EXPECT_THAT(answer.body, StartsWith("{\"error\": ")) << path;
    }
}

TEST_F(ConsoleSite, AgentsInJson) {
    store.record(MakeUpload(42, 1000, kMarkup));
    const Answer all = Ask("/api/agents");
    EXPECT_EQ(all.status, 200);
    EXPECT_EQ(all.type, "application/json");
    EXPECT_THAT(all.body, HasSubstr("\"offline_after_ms\": 120000, \"agents\": [{\"id\": 42, "));
    const Answer one = Ask("/api/agents/42");
    EXPECT_THAT(one.body, StartsWith("{\"id\": 42, "));
    EXPECT_EQ(Ask("/api/agents/43").status, 404);
}

TEST_F(ConsoleSite, HistoryBetweenTwoTimes) {
    store.record(MakeUsage(42, 5000, 100));
    const Answer answer =
        Ask("/api/agents/42/history", {{"from", "0"}, {"to", "10000"}, {"points", "10"}});
    EXPECT_EQ(answer.body,
              "{\"from\": 0, \"to\": 10000, \"step_ms\": 1000, \"time\": [5000], \"cpu_percent\": "
              "[1.0], \"cpu_percent_highest\": [1.0], \"memory_used_kib\": [1000], "
              "\"memory_total_kib\": [4000]}\n");
    // The last hour by default, of any agent.
    EXPECT_THAT(Ask("/api/agents/7/history").body, HasSubstr("\"step_ms\": 9000, \"time\": []"));
}

TEST_F(ConsoleSite, HistoryOfNoTimeIsABadRequest) {
    using Parameters = std::map<std::string, std::string>;
    for (const Parameters& wrong : std::vector<Parameters>{{{"from", "5"}, {"to", "5"}},
                                                           {{"from", "6"}, {"to", "5"}},
                                                           {{"from", "-1"}},
                                                           {{"from", "x"}},
                                                           {{"to", ""}},
                                                           {{"to", "0"}},
                                                           {{"to", "9999999999999999999999"}},
                                                           {{"to", "4503599627370497"}},
                                                           {{"points", "0"}},
                                                           {{"points", "2001"}}}) {
        EXPECT_EQ(Ask("/api/agents/42/history", wrong).status, 400) << wrong.begin()->second;
    }
    EXPECT_EQ(Ask("/api/agents/42/history", {{"from", "0"}, {"to", "4503599627370496"}}).status,
              200);
}

TEST_F(ConsoleSite, EventsBeginWithAGreeting) {
    const Answer answer = Ask("/api/events");
    EXPECT_EQ(answer.type, "text/event-stream");
    EXPECT_THAT(answer.body,
                testing::MatchesRegex("retry: 2000\nevent: hello\ndata: \\{\"now\": [0-9]+, "
                                      "\"offline_after_ms\": 120000\\}\n\n"));
    ASSERT_NE(answer.events, nullptr);
    EXPECT_EQ(feed.client_count(), 1U);
}

TEST_F(ConsoleSite, TooManyReadersOfEventsAreTold) {
    std::vector<Answer> answers;
    for (std::size_t i = 0; i < Feed::kMostClients; ++i) {
        answers.push_back(Ask("/api/events"));
    }
    EXPECT_EQ(Ask("/api/events").status, 503);
    EXPECT_EQ(Ask("/api/events").body, "{\"error\": \"too many readers of events\"}\n");
}

TEST_F(ConsoleSite, Metrics) {
    const Answer answer = Ask("/metrics");
    EXPECT_EQ(answer.type, "text/plain; version=0.0.4; charset=utf-8");
    EXPECT_THAT(answer.body, HasSubstr("kxemgr_build_info{version=\"0.1.0\"} 1\n"));
}

TEST_F(ConsoleSite, ADatabaseThatCannotBeReadIsTold) {
    FileStore absent("/no/such/file");
    const Site broken(absent, feed, counters, {}, 1, "0.1.0");
    const Answer answer =
        broken.answer({"/api/agents", {}, {"GET", "localhost", "", "", "", false}});
    EXPECT_EQ(answer.status, 503);
    EXPECT_THAT(answer.body, HasSubstr("the database cannot be read: unable to open"));
}

TEST_F(ConsoleSite, RefusalsHaveTheirOwnStatus) {
    const auto status = [this](const kxemgr::console::Credentials& credentials) {
        return site.answer({"/api/agents", {}, credentials}).status;
    };
    EXPECT_EQ(status({"POST", "localhost", "", "", "", false}), 405);
    EXPECT_EQ(status({"GET", "evil.example", "", "", "", false}), 403);
    EXPECT_EQ(status({"GET", "localhost", "cross-site", "", "", false}), 403);
    EXPECT_EQ(status({"GET", "localhost", "", "", "", true}), 400);
}

TEST_F(ConsoleSite, ATokenOpensASessionAndOnlyThere) {
    const Site guarded(store, feed, counters, {{}, "0123456789abcdef", "key"}, 1, "0.1.0");
    const auto ask = [&](const char* path, const char* authorization, const char* cookie) {
        return guarded.answer({path, {}, {"GET", "localhost", "", authorization, cookie, false}});
    };
    EXPECT_EQ(ask("/", "", "").status, 200);
    for (const char* path :
         {"/api/agents", "/api/agents/1", "/api/events", "/metrics", "/api/session", "/nothing"}) {
        EXPECT_EQ(ask(path, "", "").status, 401) << path;
        EXPECT_EQ(ask(path, "Bearer wrong", "").status, 401) << path;
    }
    EXPECT_EQ(ask("/api/agents", "Bearer 0123456789abcdef", "").status, 200);
    EXPECT_EQ(ask("/api/agents", "Bearer 0123456789abcdef", "").set_cookie, "");
    EXPECT_THAT(ask("/api/session", "Bearer 0123456789abcdef", "").set_cookie,
                StartsWith("kxemgr_session=key; "));
    EXPECT_EQ(ask("/api/session", "", "kxemgr_session=key").set_cookie, "");
    EXPECT_EQ(ask("/api/agents", "", "kxemgr_session=key").status, 200);
}

}  // namespace
}  // namespace kxtest
