#include "kxemgr/console/api.h"

#include <new>

#include "kxemgr/recorder.h"

namespace kxemgr::console {

namespace {

using kxapp::Json;
using kxapp::JsonString;
using kxapp::SetMember;

Json Number(std::int64_t number) {
    return Json(json_integer(number));
}

void Append(json_t* array, Json value) {
    if (json_array_append_new(array, value.release()) != 0) {
        throw std::bad_alloc();
    }
}

// Hundredths of a percent as percent, exact to the two digits.
Json Percent(std::int64_t hundredths) {
    return Json(json_real(static_cast<double>(hundredths) / 100));
}

Json UsageJson(const std::optional<Usage>& usage) {
    if (!usage) {
        return Json(json_null());
    }
    Json object(json_object());
    SetMember(object.get(), "cpu_percent", Percent(usage->cpu));
    SetMember(object.get(), "memory_used_kib", Number(usage->memory_used));
    SetMember(object.get(), "memory_total_kib", Number(usage->memory_total));
    return object;
}

Json SummaryJson(const AgentSummary& agent, const Clock& clock) {
    Json object(json_object());
    SetMember(object.get(), "id", Number(agent.id));
    SetMember(object.get(), "host_name", JsonString(agent.host_name));
    SetMember(object.get(), "online", Json(json_boolean(clock.is_online(agent.last_seen))));
    SetMember(object.get(), "first_seen", Number(agent.first_seen));
    SetMember(object.get(), "last_seen", Number(agent.last_seen));
    SetMember(object.get(), "distribution", JsonString(agent.distribution));
    SetMember(object.get(), "agent_version", JsonString(agent.agent_version));
    SetMember(object.get(), "usage", UsageJson(agent.usage));
    SetMember(object.get(), "clone_uploads", Number(agent.clone_uploads));
    SetMember(object.get(), "last_clone",
              agent.last_clone == 0 ? Json(json_null()) : Number(agent.last_clone));
    return object;
}

// A section as it is in the database; null when it never was, or is no JSON.
Json SectionJson(const std::string& text) {
    json_error_t error;
    Json section(json_loadb(text.data(), text.size(), JSON_ALLOW_NUL, &error));
    return section != nullptr ? std::move(section) : Json(json_null());
}

Json ChangeJson(const ChangeRow& row) {
    Json object(json_object());
    SetMember(object.get(), "time", Number(row.time));
    SetMember(object.get(), "subject", JsonString(row.change.subject));
    SetMember(object.get(), "item", JsonString(row.change.item));
    SetMember(object.get(), "before", JsonString(row.change.before));
    SetMember(object.get(), "after", JsonString(row.change.after));
    return object;
}

Json CloneJson(const CloneRow& row) {
    Json object(json_object());
    SetMember(object.get(), "host_name", JsonString(row.host_name));
    SetMember(object.get(), "macs", JsonString(row.macs));
    SetMember(object.get(), "vm_id", JsonString(row.vm_id));
    SetMember(object.get(), "first_seen", Number(row.first_seen));
    SetMember(object.get(), "last_seen", Number(row.last_seen));
    SetMember(object.get(), "uploads", Number(row.uploads));
    return object;
}

void SetClock(json_t* object, const Clock& clock) {
    SetMember(object, "now", Number(clock.now_ms));
    SetMember(object, "offline_after_ms", Number(clock.offline_after_ms));
}

std::string WithoutNewline(std::string text) {
    text.pop_back();
    return text;
}

}  // namespace

std::string AgentsJson(const std::vector<AgentSummary>& agents, const Clock& clock) {
    Json object(json_object());
    SetClock(object.get(), clock);
    Json list(json_array());
    for (const AgentSummary& agent : agents) {
        Append(list.get(), SummaryJson(agent, clock));
    }
    SetMember(object.get(), "agents", std::move(list));
    return kxapp::ToText(object.get());
}

std::string AgentJson(const AgentDetail& agent, const Clock& clock) {
    Json object = SummaryJson(agent.summary, clock);
    SetClock(object.get(), clock);
    SetMember(object.get(), "system", SectionJson(agent.system));
    SetMember(object.get(), "login", SectionJson(agent.login));
    Json changes(json_array());
    for (const ChangeRow& row : agent.changes) {
        Append(changes.get(), ChangeJson(row));
    }
    SetMember(object.get(), "changes", std::move(changes));
    Json clones(json_array());
    for (const CloneRow& row : agent.clones) {
        Append(clones.get(), CloneJson(row));
    }
    SetMember(object.get(), "clones", std::move(clones));
    return kxapp::ToText(object.get());
}

std::string HistoryJson(const History& history) {
    Json object(json_object());
    SetMember(object.get(), "from", Number(history.from));
    SetMember(object.get(), "to", Number(history.to));
    SetMember(object.get(), "step_ms", Number(history.step));
    Json columns[] = {Json(json_array()), Json(json_array()), Json(json_array()),
                      Json(json_array()), Json(json_array())};
    for (const History::Point& point : history.points) {
        Append(columns[0].get(), Number(point.time));
        Append(columns[1].get(), Percent(point.cpu));
        Append(columns[2].get(), Percent(point.cpu_highest));
        Append(columns[3].get(), Number(point.memory_used));
        Append(columns[4].get(), Number(point.memory_total));
    }
    constexpr const char* kNames[] = {"time", "cpu_percent", "cpu_percent_highest",
                                      "memory_used_kib", "memory_total_kib"};
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
        SetMember(object.get(), kNames[i], std::move(columns[i]));
    }
    return kxapp::ToText(object.get());
}

std::string ErrorJson(const std::string& words) {
    Json object(json_object());
    SetMember(object.get(), "error", JsonString(words));
    return kxapp::ToText(object.get());
}

std::string HelloData(const Clock& clock) {
    Json object(json_object());
    SetClock(object.get(), clock);
    return WithoutNewline(kxapp::ToText(object.get()));
}

std::string UploadData(const kxapp::Upload& upload, const bf_kxepinfo::epinfo_msg_respone& answer) {
    const bf_kxepinfo::epinfo& message = upload.message;
    std::optional<Usage> usage;
    if (message.has_rc_info()) {
        const auto& section = message.rc_info();
        usage = {section.cpu_usage(), section.mem_usaged(), section.mem_total()};
    }
    Json object(json_object());
    SetMember(object.get(), "id", Number(message.agent_id()));
    SetMember(object.get(), "time", Number(Milliseconds(upload.received)));
    SetMember(object.get(), "accepted", Json(json_boolean(answer.status() != 0)));
    SetMember(object.get(), "duplicate", Json(json_boolean(answer.duplicate() != 0)));
    SetMember(object.get(), "facts",
              Json(json_boolean(message.has_sys_info() || message.has_login_info())));
    SetMember(object.get(), "usage", UsageJson(usage));
    return WithoutNewline(kxapp::ToText(object.get()));
}

}  // namespace kxemgr::console
