#include "kxemgr/console/site.h"

#include <ctime>
#include <limits>
#include <optional>

#include "common/number.h"
#include "kxemgr/console/api.h"
#include "kxemgr/console/metrics.h"
#include "kxemgr/console/queries.h"

namespace kxemgr::console {

namespace {

constexpr char kJsonType[] = "application/json";
constexpr char kEventsType[] = "text/event-stream";
constexpr std::string_view kAgentPrefix = "/api/agents/";
constexpr std::string_view kHistorySuffix = "/history";
constexpr std::int64_t kUsualPoints = 400;
constexpr std::int64_t kUsualSpanMs = std::int64_t{60} * 60 * 1000;
// Of times that a query names; far behind any clock, and far from overflow.
constexpr std::int64_t kLatestMs = std::int64_t{1} << 52U;

std::int64_t NowMs() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    return Milliseconds(now);
}

Answer Error(int status, const std::string& words) {
    return {status, kJsonType, {}, ErrorJson(words), {}, nullptr};
}

Answer Body(const char* type, std::string body) {
    return {200, type, {}, std::move(body), {}, nullptr};
}

Answer Refusal(Verdict verdict) {
    switch (verdict) {
        case Verdict::kNeedsToken:
            return Error(401, "this needs the token");
        case Verdict::kForeign:
            return Error(403, "asked for under a foreign name, or from another site");
        case Verdict::kBadMethod:
            return Error(405, "only GET and HEAD are answered");
        default:
            return Error(400, "a request with a body is not understood");
    }
}

// A number from a query; `usual` when it is not there, nothing when it is none or out of range.
std::optional<std::int64_t> NumberOf(const Question& question, const char* name,
                                     std::int64_t lowest, std::int64_t highest,
                                     std::int64_t usual) {
    const auto found = question.parameters.find(name);
    if (found == question.parameters.end()) {
        return usual;
    }
    const auto number = kxapp::ReadNumber(found->second);
    if (!number || *number > static_cast<std::uint64_t>(highest) ||
        static_cast<std::int64_t>(*number) < lowest) {
        return std::nullopt;
    }
    return static_cast<std::int64_t>(*number);
}

}  // namespace

Site::Site(Store& store, Feed& feed, const Counters& counters, Rules rules,
           std::int64_t offline_after_ms, std::string version)
    : m_store(store),
      m_feed(feed),
      m_counters(counters),
      m_rules(std::move(rules)),
      m_offline_after_ms(offline_after_ms),
      m_version(std::move(version)) {}

Answer Site::answer(const Question& question) const noexcept {
    try {
        const Asset* asset = FindAsset(question.path);
        const Verdict verdict = Judge(m_rules, question.credentials, asset != nullptr);
        if (verdict != Verdict::kAllowed && verdict != Verdict::kAllowedByToken) {
            return Refusal(verdict);
        }
        if (asset != nullptr) {
            return {200, asset->type, asset->content, {}, {}, nullptr};
        }
        if (question.path == "/api/session") {
            Answer answer = Body(kJsonType, "{}\n");
            answer.set_cookie =
                verdict == Verdict::kAllowedByToken ? SessionCookie(m_rules) : std::string();
            return answer;
        }
        return route(question);
    } catch (const SqliteError& error) {
        return Error(503, std::string("the database cannot be read: ") + error.what());
    } catch (const std::exception&) {
        return {500, "text/plain", "the console cannot answer", {}, {}, nullptr};
    }
}

Answer Site::route(const Question& question) const {
    if (question.path == "/api/agents") {
        return agents();
    }
    if (question.path.starts_with(kAgentPrefix)) {
        return agent(question.path.substr(kAgentPrefix.size()), question);
    }
    if (question.path == "/api/events") {
        return events();
    }
    if (question.path == "/metrics") {
        return metrics();
    }
    return Error(404, "there is nothing here");
}

Answer Site::agents() const {
    std::vector<AgentSummary> agents;
    m_store.read([&](sqlite3& connection) { agents = QueryAgents(connection); });
    return Body(kJsonType, AgentsJson(agents, {NowMs(), m_offline_after_ms}));
}

Answer Site::agent(std::string_view rest, const Question& question) const {
    const bool wants_history = rest.ends_with(kHistorySuffix);
    if (wants_history) {
        rest.remove_suffix(kHistorySuffix.size());
    }
    const auto id = kxapp::ReadNumber(rest);
    if (!id || *id > std::numeric_limits<std::uint32_t>::max()) {
        return Error(404, "there is no such agent");
    }
    if (wants_history) {
        return history(static_cast<std::uint32_t>(*id), question);
    }
    std::optional<AgentDetail> detail;
    m_store.read([&](sqlite3& connection) {
        detail = QueryAgent(connection, static_cast<std::uint32_t>(*id));
    });
    return detail ? Body(kJsonType, AgentJson(*detail, {NowMs(), m_offline_after_ms}))
                  : Error(404, "there is no such agent");
}

Answer Site::history(std::uint32_t id, const Question& question) const {
    const auto to = NumberOf(question, "to", 1, kLatestMs, NowMs() + 1);
    const auto from =
        NumberOf(question, "from", 0, kLatestMs, to.value_or(kUsualSpanMs) - kUsualSpanMs);
    const auto points = NumberOf(question, "points", 1, kMostPoints, kUsualPoints);
    if (!to || !from || !points || *from >= *to) {
        return Error(400, "from, to: milliseconds since the epoch, from before to; points: 1 to " +
                              std::to_string(kMostPoints));
    }
    History history;
    m_store.read(
        [&](sqlite3& connection) { history = QueryHistory(connection, id, *from, *to, *points); });
    return Body(kJsonType, HistoryJson(history));
}

Answer Site::events() const {
    Answer answer =
        Body(kEventsType,
             "retry: 2000\n" + EventText("hello", HelloData({NowMs(), m_offline_after_ms})));
    answer.events = m_feed.join();
    return answer.events != nullptr ? std::move(answer) : Error(503, "too many readers of events");
}

Answer Site::metrics() const {
    std::vector<AgentSummary> agents;
    m_store.read([&](sqlite3& connection) { agents = QueryAgents(connection); });
    return Body(kMetricsType, MetricsText(agents, {NowMs(), m_offline_after_ms}, m_counters,
                                          m_feed.client_count(), m_version));
}

}  // namespace kxemgr::console
