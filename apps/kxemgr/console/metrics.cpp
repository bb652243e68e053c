#include "kxemgr/console/metrics.h"

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cstdio>

namespace kxemgr::console {

namespace {

constexpr std::int64_t kBytesOfAKib = 1024;

// Writes metrics one after the other.
class Page {
  public:
    void begin(const char* name, const char* type, const char* help) {
        m_name = name;
        m_text += "# HELP " + m_name + " " + help + "\n# TYPE " + m_name + " " + type + "\n";
    }
    void value(std::int64_t number) { line("", std::to_string(number)); }
    void value(const std::string& labels, const std::string& number) {
        line("{" + labels + "}", number);
    }
    void value(const std::string& labels, std::int64_t number) {
        value(labels, std::to_string(number));
    }
    std::string take() { return std::move(m_text); }

  private:
    void line(const std::string& labels, const std::string& number) {
        m_text += m_name + labels + " " + number + "\n";
    }

    std::string m_name;
    std::string m_text;
};

std::string Label(const char* name, std::string_view value) {
    return std::string(name) + "=\"" + EscapeLabel(value) + "\"";
}

std::string AgentLabel(const AgentSummary& agent) {
    return "agent=\"" + std::to_string(agent.id) + "\"";
}

// A whole number of thousandths or ten thousandths as a decimal, without rounding.
std::string Decimal(std::int64_t number, std::int64_t unit, int digits) {
    std::array<char, 48> text{};
    (void)std::snprintf(text.data(), text.size(), "%s%" PRId64 ".%0*" PRId64, number < 0 ? "-" : "",
                        std::abs(number / unit), digits, std::abs(number % unit));
    return text.data();
}

using Agents = std::vector<AgentSummary>;

void AddCounters(Page& page, const Counters& counters, std::size_t event_clients) {
    const auto number = [](const auto& counter) { return static_cast<std::int64_t>(counter); };
    page.begin("kxemgr_uploads_total", "counter", "Uploads answered since the manager started.");
    page.value(Label("result", "accepted"), number(counters.accepted.load()));
    page.value(Label("result", "refused"), number(counters.refused.load()));
    page.begin("kxemgr_duplicate_uploads_total", "counter",
               "Accepted uploads that came from another machine than the agent id's own.");
    page.value(number(counters.duplicates.load()));
    page.begin("kxemgr_bad_requests_total", "counter",
               "Requests that should have been uploads and were none.");
    page.value(number(counters.bad.load()));
    page.begin("kxemgr_event_clients", "gauge", "Readers of /api/events.");
    page.value(number(event_clients));
}

void AddTotals(Page& page, const Agents& agents, const Clock& clock) {
    page.begin("kxemgr_agents", "gauge", "Agents that the manager knows.");
    page.value(static_cast<std::int64_t>(agents.size()));
    page.begin("kxemgr_agents_online", "gauge", "Agents whose last upload is recent.");
    page.value(std::count_if(agents.begin(), agents.end(), [&](const AgentSummary& agent) {
        return clock.is_online(agent.last_seen);
    }));
}

// One value an agent; agents for which `value` is empty have none.
template <class Value>
void AddGauge(Page& page, const Agents& agents, const char* name, const char* help, Value value) {
    page.begin(name, "gauge", help);
    for (const AgentSummary& agent : agents) {
        if (const std::string text = value(agent); !text.empty()) {
            page.value(AgentLabel(agent), text);
        }
    }
}

void AddAgents(Page& page, const Agents& agents, const Clock& clock) {
    page.begin("kxemgr_agent_info", "gauge", "Always 1; what an agent says of itself, as labels.");
    for (const AgentSummary& agent : agents) {
        page.value(AgentLabel(agent) + "," + Label("host", agent.host_name) + "," +
                       Label("distribution", agent.distribution) + "," +
                       Label("version", agent.agent_version),
                   1);
    }
    AddGauge(page, agents, "kxemgr_agent_online", "1 when the last upload is recent, else 0.",
             [&](const auto& agent) { return clock.is_online(agent.last_seen) ? "1" : "0"; });
    AddGauge(page, agents, "kxemgr_agent_last_upload_timestamp_seconds",
             "When the last upload came, by the manager's clock.",
             [](const auto& agent) { return Decimal(agent.last_seen, 1000, 3); });
    AddGauge(page, agents, "kxemgr_agent_cpu_ratio", "Processor load of the last upload, 0 to 1.",
             [](const auto& agent) {
                 return agent.usage ? Decimal(agent.usage->cpu, 10'000, 4) : std::string();
             });
    AddGauge(page, agents, "kxemgr_agent_memory_used_bytes", "Memory in use at the last upload.",
             [](const auto& agent) {
                 return agent.usage ? std::to_string(agent.usage->memory_used * kBytesOfAKib)
                                    : std::string();
             });
    AddGauge(page, agents, "kxemgr_agent_memory_bytes", "Memory of the machine.",
             [](const auto& agent) {
                 return agent.usage ? std::to_string(agent.usage->memory_total * kBytesOfAKib)
                                    : std::string();
             });
    AddGauge(page, agents, "kxemgr_agent_clone_uploads",
             "Uploads with this agent's id that came from other machines, as far as is remembered.",
             [](const auto& agent) { return std::to_string(agent.clone_uploads); });
}

}  // namespace

std::string EscapeLabel(std::string_view text) {
    std::string escaped;
    escaped.reserve(text.size());
    for (const char byte : text) {
        switch (byte) {
            case '\\':
                escaped += "\\\\";
                break;
            case '"':
                escaped += "\\\"";
                break;
            case '\n':
                escaped += "\\n";
                break;
            case '\0':
                escaped += "\xEF\xBF\xBD";
                break;
            default:
                escaped += byte;
        }
    }
    return escaped;
}

std::string MetricsText(const std::vector<AgentSummary>& agents, const Clock& clock,
                        const Counters& counters, std::size_t event_clients,
                        std::string_view version) {
    Page page;
    page.begin("kxemgr_build_info", "gauge", "Always 1; the manager's version as a label.");
    page.value(Label("version", version), 1);
    AddCounters(page, counters, event_clients);
    AddTotals(page, agents, clock);
    AddAgents(page, agents, clock);
    return page.take();
}

}  // namespace kxemgr::console
