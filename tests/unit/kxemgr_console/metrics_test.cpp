// The metrics, and a reader of their format.
#include "kxemgr/console/metrics.h"

#include <gmock/gmock.h>

#include <map>
#include <set>
#include <sstream>

#include "uploads.h"

namespace kxtest {
namespace {

using kxemgr::console::AgentSummary;
using kxemgr::console::Counters;
using kxemgr::console::EscapeLabel;
using kxemgr::console::MetricsText;

// Reads the text format by its grammar; each sample by its name and labels as written, values as
// texts. Fails the test at what is not in the grammar.
class Reader {
  public:
    explicit Reader(const std::string& text) {
        EXPECT_TRUE(text.ends_with('\n'));
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            line[0] == '#' ? comment(line) : sample(line);
        }
    }
    std::string value(const std::string& name) const {
        const auto found = m_samples.find(name);
        return found == m_samples.end() ? "absent" : found->second;
    }
    std::size_t size() const { return m_samples.size(); }

  private:
    void comment(const std::string& line) {
        std::istringstream words(line);
        std::string hash;
        std::string kind;
        std::string name;
        std::string rest;
        words >> hash >> kind >> name >> rest;
        EXPECT_FALSE(rest.empty()) << line;
        if (kind == "TYPE") {
            EXPECT_TRUE(rest == "gauge" || rest == "counter") << line;
            EXPECT_EQ(rest == "counter", name.ends_with("_total")) << line;
            EXPECT_TRUE(m_typed.insert(name).second) << "typed twice: " << line;
            m_current = name;
        } else {
            EXPECT_EQ(kind, "HELP") << line;
        }
    }

    void sample(const std::string& line) {
        const std::size_t name_end = line.find_first_not_of(
            "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789");
        ASSERT_NE(name_end, std::string::npos) << line;
        EXPECT_EQ(line.substr(0, name_end), m_current) << "outside its group";
        const std::size_t end = line[name_end] == '{' ? labels_end(line, name_end) : name_end;
        ASSERT_LT(end, line.size()) << line;
        ASSERT_EQ(line[end], ' ') << line;
        const std::string value = line.substr(end + 1);
        EXPECT_EQ(value.find_first_not_of("-.0123456789"), std::string::npos) << line;
        EXPECT_TRUE(m_samples.emplace(line.substr(0, end), value).second) << "twice: " << line;
    }

    // Behind the brace that closes the labels.
    static std::size_t labels_end(const std::string& line, std::size_t at) {
        do {
            const std::size_t quote = line.find("=\"", at);
            if (quote == std::string::npos) {
                return line.size();
            }
            for (at = quote + 2; at < line.size() && line[at] != '"'; ++at) {
                if (line[at] == '\\') {
                    ++at;
                    EXPECT_NE(std::string("\\\"n").find(line[at]), std::string::npos) << line;
                }
            }
            ++at;
        } while (at < line.size() && line[at] == ',');
        EXPECT_EQ(line[at], '}') << line;
        return at + 1;
    }

    std::set<std::string> m_typed;
    std::map<std::string, std::string> m_samples;
    std::string m_current;
};

AgentSummary Summary(std::uint32_t id) {
    AgentSummary agent;
    agent.id = id;
    agent.host_name = "build-7";
    agent.distribution = "Debian 12";
    agent.agent_version = "3.2.10";
    agent.last_seen = 1'795'286'570'099;
    agent.usage = {1246, 1000, 4'294'967'295};
    return agent;
}

TEST(Metrics, OfTheManager) {
    Counters counters;
    counters.accepted = 5;
    counters.refused = 4;
    counters.duplicates = 3;
    counters.bad = 2;
    const Reader page(MetricsText({}, {1, 1}, counters, 1, "0.1.0"));
    EXPECT_EQ(page.value("kxemgr_build_info{version=\"0.1.0\"}"), "1");
    EXPECT_EQ(page.value("kxemgr_uploads_total{result=\"accepted\"}"), "5");
    EXPECT_EQ(page.value("kxemgr_uploads_total{result=\"refused\"}"), "4");
    EXPECT_EQ(page.value("kxemgr_duplicate_uploads_total"), "3");
    EXPECT_EQ(page.value("kxemgr_bad_requests_total"), "2");
    EXPECT_EQ(page.value("kxemgr_event_clients"), "1");
    EXPECT_EQ(page.value("kxemgr_agents"), "0");
    EXPECT_EQ(page.value("kxemgr_agents_online"), "0");
    EXPECT_EQ(page.size(), 8U);
}

TEST(Metrics, OfAgents) {
    AgentSummary silent;
    silent.id = 2;
    silent.clone_uploads = 7;
    const Counters counters;
    const Reader page(
        MetricsText({Summary(1), silent}, {1'795'286'570'100, 1000}, counters, 0, "0.1.0"));
    EXPECT_EQ(page.value("kxemgr_agents"), "2");
    EXPECT_EQ(page.value("kxemgr_agents_online"), "1");
    EXPECT_EQ(page.value("kxemgr_agent_info{agent=\"1\",host=\"build-7\",distribution=\"Debian "
                         "12\",version=\"3.2.10\"}"),
              "1");
    EXPECT_EQ(page.value("kxemgr_agent_online{agent=\"1\"}"), "1");
    EXPECT_EQ(page.value("kxemgr_agent_online{agent=\"2\"}"), "0");
    EXPECT_EQ(page.value("kxemgr_agent_last_upload_timestamp_seconds{agent=\"1\"}"),
              "1795286570.099");
    EXPECT_EQ(page.value("kxemgr_agent_cpu_ratio{agent=\"1\"}"), "0.1246");
    EXPECT_EQ(page.value("kxemgr_agent_cpu_ratio{agent=\"2\"}"), "absent");
    EXPECT_EQ(page.value("kxemgr_agent_memory_used_bytes{agent=\"1\"}"), "1024000");
    EXPECT_EQ(page.value("kxemgr_agent_memory_bytes{agent=\"1\"}"), "4398046510080");
    EXPECT_EQ(page.value("kxemgr_agent_clone_uploads{agent=\"2\"}"), "7");
}

TEST(Metrics, LabelsAreEscapedWhateverIsInThem) {
    EXPECT_EQ(EscapeLabel("a\\b\"c\nd"), "a\\\\b\\\"c\\nd");
    EXPECT_EQ(EscapeLabel(std::string("a\0b", 3)),
              "a\xEF\xBF\xBD"
              "b");
    AgentSummary agent = Summary(1);
    agent.host_name = std::string(kMarkup) + "\n} 1\nkxemgr_forged{a=\"";
    const Counters counters;
    const Reader page(MetricsText({agent}, {1, 1}, counters, 0, "\"\\\n"));
    EXPECT_EQ(page.value("kxemgr_forged"), "absent");
    EXPECT_EQ(page.value("kxemgr_agents"), "1");
    EXPECT_EQ(page.size(), 8U + 7U);
}

}  // namespace
}  // namespace kxtest
