#include "kxemgr/recorder.h"

#include <google/protobuf/util/json_util.h>

#include "common/decode.h"
#include "common/number.h"

namespace kxemgr {

namespace {

// Sections, which can be large, only where there are others to compare them to.
constexpr char kSelectAgent[] =
    "SELECT host_name, macs, vm_id, iif(?2, system, NULL), iif(?3, login, NULL) FROM agents "
    "WHERE agent_id = ?1";
constexpr char kUpdateAgent[] =
    "INSERT INTO agents (agent_id, first_seen, last_seen, host_name, macs, vm_id, resources, "
    "system, login) VALUES (?1, ?2, ?2, ?3, ?4, ?5, ?6, ?7, ?8) "
    "ON CONFLICT (agent_id) DO UPDATE SET last_seen = ?2, host_name = ?3, macs = ?4, vm_id = ?5, "
    "resources = coalesce(?6, resources), system = coalesce(?7, system), "
    "login = coalesce(?8, login)";
constexpr char kInsertSample[] =
    "INSERT OR REPLACE INTO samples (agent_id, received_at, cpu, memory_used, memory_total) "
    "VALUES (?1, ?2, ?3, ?4, ?5)";
constexpr char kInsertChange[] =
    "INSERT INTO changes (agent_id, changed_at, subject, item, before, after) "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?6)";
constexpr char kCountClone[] =
    "INSERT INTO clones (agent_id, host_name, macs, vm_id, first_seen, last_seen, uploads) "
    "VALUES (?1, ?2, ?3, ?4, ?5, ?5, 1) "
    "ON CONFLICT (agent_id, host_name, macs, vm_id) DO UPDATE SET last_seen = ?5, "
    "uploads = uploads + 1";

std::optional<std::string> SectionText(bool present, const google::protobuf::Message& section) {
    if (!present) {
        return std::nullopt;
    }
    std::string text = kxapp::ToText(kxapp::MessageToJson(section).get());
    text.pop_back();
    return text;
}

// The changes of a section from what is known of it, in JSON, to what has come. The first section
// of its kind changes nothing: there is nothing that it could be compared to.
template <class Section>
std::vector<Change> ChangesOf(const std::string& known, const std::optional<std::string>& come,
                              const Section& section,
                              std::vector<Change> (*compare)(const Section&, const Section&)) {
    if (!come || known.empty() || *come == known) {
        return {};
    }
    Section before;
    google::protobuf::util::JsonParseOptions options;
    options.ignore_unknown_fields = true;
    if (!google::protobuf::util::JsonStringToMessage(known, &before, options).ok()) {
        return {};
    }
    return compare(before, section);
}

std::string VmIdText(std::uint64_t vm_id) {
    return vm_id == 0 ? std::string() : std::to_string(vm_id);
}

}  // namespace

std::int64_t Milliseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * 1000 + time.tv_nsec / 1'000'000;
}

Recorder::Recorder(sqlite3& connection)
    : m_select_agent(connection, kSelectAgent),
      m_update_agent(connection, kUpdateAgent),
      m_insert_sample(connection, kInsertSample),
      m_insert_change(connection, kInsertChange),
      m_count_clone(connection, kCountClone) {}

bool Recorder::record(const kxapp::Upload& upload) {
    const bf_kxepinfo::epinfo& message = upload.message;
    if (message.agent_id() == 0) {
        return false;
    }
    const std::int64_t now_ms = Milliseconds(upload.received);
    Known known = known_of(message);
    if (IsDuplicate(known.machine, message)) {
        count_clone(message, now_ms);
        return true;
    }
    update_agent(upload, known, now_ms);
    if (message.has_rc_info()) {
        insert_sample(message, now_ms);
    }
    return false;
}

Recorder::Known Recorder::known_of(const bf_kxepinfo::epinfo& message) {
    const Run run(m_select_agent);
    run->bind(1, message.agent_id());
    run->bind(2, message.has_sys_info() ? 1 : 0);
    run->bind(3, message.has_login_info() ? 1 : 0);
    if (!run->step()) {
        return {};
    }
    const std::uint64_t vm_id = kxapp::ReadNumber(run->text(2)).value_or(0);
    return {{run->text(0), SplitMacs(run->text(1)), vm_id}, run->text(3), run->text(4)};
}

void Recorder::update_agent(const kxapp::Upload& upload, const Known& known, std::int64_t now_ms) {
    const bf_kxepinfo::epinfo& message = upload.message;
    const std::optional<std::string> host_name = known.machine.host_name;
    const std::optional<std::string> macs = JoinMacs(known.machine.macs);
    const std::optional<std::string> vm_id = VmIdText(known.machine.vm_id);
    const auto resources = SectionText(message.has_rc_info(), message.rc_info());
    const auto system = SectionText(message.has_sys_info(), message.sys_info());
    const auto login = SectionText(message.has_login_info(), message.login_info());
    {
        const Run run(m_update_agent);
        run->bind(1, message.agent_id());
        run->bind(2, now_ms);
        run->bind(3, host_name);
        run->bind(4, macs);
        run->bind(5, vm_id);
        run->bind(6, resources);
        run->bind(7, system);
        run->bind(8, login);
        (void)run->step();
    }
    insert_changes(message.agent_id(),
                   ChangesOf(known.system, system, message.sys_info(), CompareSystems), now_ms);
    insert_changes(message.agent_id(),
                   ChangesOf(known.login, login, message.login_info(), CompareLogins), now_ms);
}

void Recorder::insert_sample(const bf_kxepinfo::epinfo& message, std::int64_t now_ms) {
    const Run run(m_insert_sample);
    run->bind(1, message.agent_id());
    run->bind(2, now_ms);
    run->bind(3, message.rc_info().cpu_usage());
    run->bind(4, message.rc_info().mem_usaged());
    run->bind(5, message.rc_info().mem_total());
    (void)run->step();
}

void Recorder::insert_changes(std::uint32_t agent_id, const std::vector<Change>& changes,
                              std::int64_t now_ms) {
    for (const Change& change : changes) {
        const std::optional<std::string> texts[] = {change.subject, change.item, change.before,
                                                    change.after};
        const Run run(m_insert_change);
        run->bind(1, agent_id);
        run->bind(2, now_ms);
        for (int i = 0; i < 4; ++i) {
            run->bind(3 + i, texts[i]);
        }
        (void)run->step();
    }
}

void Recorder::count_clone(const bf_kxepinfo::epinfo& message, std::int64_t now_ms) {
    const Machine clone = ReportedMachine(message).value_or(Machine{});
    const std::optional<std::string> host_name = clone.host_name;
    const std::optional<std::string> macs = JoinMacs(clone.macs);
    const std::optional<std::string> vm_id = VmIdText(clone.vm_id);
    const Run run(m_count_clone);
    run->bind(1, message.agent_id());
    run->bind(2, host_name);
    run->bind(3, macs);
    run->bind(4, vm_id);
    run->bind(5, now_ms);
    (void)run->step();
}

}  // namespace kxemgr
