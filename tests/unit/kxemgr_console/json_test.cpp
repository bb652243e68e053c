// The answers in JSON.
#include <gmock/gmock.h>

#include "kxemgr/console/api.h"
#include "uploads.h"

namespace kxtest {
namespace {

using kxemgr::console::AgentDetail;
using kxemgr::console::AgentJson;
using kxemgr::console::AgentsJson;
using kxemgr::console::AgentSummary;
using kxemgr::console::Clock;
using kxemgr::console::HistoryJson;

AgentSummary Summary() {
    AgentSummary agent;
    agent.id = 4294967295;
    agent.host_name = "build-7";
    agent.distribution = "Debian 12";
    agent.agent_version = "3.2.10";
    agent.first_seen = 1000;
    agent.last_seen = 9000;
    agent.usage = {1246, 1000, 4000};
    return agent;
}

TEST(ConsoleJson, AllAgents) {
    EXPECT_EQ(AgentsJson({Summary()}, {10'000, 2000}),
              R"({"now": 10000, "offline_after_ms": 2000, "agents": [{"id": 4294967295, )"
              R"("host_name": "build-7", "online": true, "first_seen": 1000, "last_seen": 9000, )"
              R"("distribution": "Debian 12", "agent_version": "3.2.10", "usage": {"cpu_percent": )"
              R"(12.46, "memory_used_kib": 1000, "memory_total_kib": 4000}, "clone_uploads": 0, )"
              R"("last_clone": null}]})"
              "\n");
    EXPECT_EQ(AgentsJson({}, {1, 2}), "{\"now\": 1, \"offline_after_ms\": 2, \"agents\": []}\n");
}

TEST(ConsoleJson, AnAgentIsOnlineForSoLong) {
    const auto online = [](std::int64_t now) { return Clock{now, 2000}.is_online(9000); };
    EXPECT_TRUE(online(9000));
    EXPECT_TRUE(online(10'999));
    EXPECT_FALSE(online(11'000));
    EXPECT_TRUE(online(0));
}

TEST(ConsoleJson, AnAgentThatHasToldNothing) {
    AgentDetail detail;
    detail.summary.id = 1;
    EXPECT_EQ(AgentJson(detail, {1, 1}),
              R"({"id": 1, "host_name": "", "online": false, "first_seen": 0, "last_seen": 0, )"
              R"("distribution": "", "agent_version": "", "usage": null, "clone_uploads": 0, )"
              R"("last_clone": null, "now": 1, "offline_after_ms": 1, "system": null, )"
              R"("login": null, "changes": [], "clones": []})"
              "\n");
}

TEST(ConsoleJson, AnAgentWithEverything) {
    AgentDetail detail;
    detail.summary = Summary();
    detail.summary.last_clone = 5;
    detail.system = R"({"base_info": {"uVmid": "18446744073709551615"}})";
    detail.login = R"({"usr_info": [{"login_name": "a\u0000b"}]})";
    detail.changes = {{7, {"address", "M1", "", "10.0.0.5"}}};
    detail.clones = {{"copy", "M2,M3", "9", 1, 2, 3}};
    EXPECT_THAT(AgentJson(detail, {10'000, 2000}),
                testing::EndsWith(
                    R"("last_clone": 5, "now": 10000, "offline_after_ms": 2000, "system": )"
                    R"({"base_info": {"uVmid": "18446744073709551615"}}, "login": {"usr_info": )"
                    R"([{"login_name": "a\u0000b"}]}, "changes": [{"time": 7, "subject": )"
                    R"("address", "item": "M1", "before": "", "after": "10.0.0.5"}], "clones": )"
                    R"([{"host_name": "copy", "macs": "M2,M3", "vm_id": "9", "first_seen": 1, )"
                    R"("last_seen": 2, "uploads": 3}]})"
                    "\n"));
}

TEST(ConsoleJson, ASectionThatIsNoJsonIsNull) {
    AgentDetail detail;
    detail.system = "\" broken";
    EXPECT_THAT(AgentJson(detail, {1, 1}), testing::HasSubstr("\"system\": null"));
}

TEST(ConsoleJson, TextsAreStringsWhateverIsInThem) {
    AgentSummary agent = Summary();
    agent.host_name = std::string(kMarkup) + '\0' + "\n\xFF\xE2\x80\xA8";
    EXPECT_THAT(AgentsJson({agent}, {1, 1}),
                testing::HasSubstr(R"("host_name": "<script>alert(\"'&\\x5C1\")</script>)"
                                   R"(\u0000\n\\xFF\u2028", )"));
}

TEST(ConsoleJson, TheHistoryInColumns) {
    kxemgr::console::History history{0, 100, 50, {{10, 1, 2, 3, 4}, {60, 1000, 10'000, 7, 8}}};
    EXPECT_EQ(HistoryJson(history),
              R"({"from": 0, "to": 100, "step_ms": 50, "time": [10, 60], "cpu_percent": )"
              R"([0.01, 10.0], "cpu_percent_highest": [0.02, 100.0], "memory_used_kib": [3, 7], )"
              R"("memory_total_kib": [4, 8]})"
              "\n");
}

TEST(ConsoleJson, EventsAreOneLine) {
    bf_kxepinfo::epinfo_msg_respone answer;
    answer.set_status(1);
    EXPECT_EQ(kxemgr::console::UploadData(MakeUpload(42, 1500), answer),
              R"({"id": 42, "time": 1500, "accepted": true, "duplicate": false, "facts": true, )"
              R"("usage": {"cpu_percent": 12.46, "memory_used_kib": 1000, "memory_total_kib": )"
              R"(4000}})");
    answer.set_status(0);
    answer.set_duplicate(1);
    kxapp::Upload login = MakeUsage(42, 1500, 0);
    login.message.clear_rc_info();
    EXPECT_EQ(kxemgr::console::UploadData(login, answer),
              R"({"id": 42, "time": 1500, "accepted": false, "duplicate": true, "facts": false, )"
              R"("usage": null})");
    EXPECT_EQ(kxemgr::console::HelloData({5, 6}), R"({"now": 5, "offline_after_ms": 6})");
}

}  // namespace
}  // namespace kxtest
