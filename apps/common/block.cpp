#include "common/block.h"

#include <cinttypes>
#include <utility>

#include "common/adapter_table.h"
#include "common/leftover.h"
#include "common/words.h"

namespace kxapp {

namespace {

using bf_kxepinfo::epinfo;

constexpr std::int32_t kUsualHostType = 1;

std::string Resources(const bf_kxepinfo::epinfo_msg_rc& section) {
    constexpr std::uint32_t kKibInMib = 1024;
    // In 64 bits: a hundred times a 32-bit number of kB.
    const std::uint64_t used = section.mem_usaged();
    const std::uint64_t tenths =
        section.mem_total() == 0 ? 0
                                 : (used * 1000 + section.mem_total() / 2) / section.mem_total();
    return Format("cpu %u.%02u %%  memory %u of %u MiB (%" PRIu64 ".%" PRIu64 " %%)",
                  section.cpu_usage() / 100, section.cpu_usage() % 100,
                  section.mem_usaged() / kKibInMib, section.mem_total() / kKibInMib, tenths / 10,
                  tenths % 10);
}

std::string PlatformInWords(std::int32_t platform) {
    if (platform == 4) {
        return "64-bit";
    }
    return platform == 3 ? "32-bit" : Format("platform %d", platform);
}

std::string Host(const bf_kxepinfo::epinfo_msg_base& base) {
    std::string line;
    Append(line, ShownText(base.host_node()));
    Append(line, ShownText(base.sys_distro()));
    Append(line, ShownText(base.sys_machine()));
    Append(line, PlatformInWords(base.host_plat()));
    Append(line, Format("%d processor%s", base.cpu_core(), base.cpu_core() == 1 ? "" : "s"));
    Append(line, base.physical() != 0 ? "physical" : "virtual");
    if (base.host_type() != kUsualHostType) {
        Append(line, Format("host type %d", base.host_type()));
    }
    if (base.uvmid() != 0) {
        Append(line, Format("vm %" PRIu64, base.uvmid()));
    }
    AppendNamed(line, "container", base.containerid());
    if (base.recal_timestamp() != 0) {
        Append(line, "id recalculation flagged " + LocalTime(base.recal_timestamp()));
    }
    return "host " + line;
}

std::string Kernel(const bf_kxepinfo::epinfo_msg_base& base) {
    std::string line;
    Append(line, ShownText(base.sys_release()), " ");
    Append(line, ShownText(base.sys_version()), " ");
    return "kernel " + (line.empty() ? "unknown" : line);
}

std::string Versions(const bf_kxepinfo::epinfo_msg_agentinfo& versions) {
    std::string line;
    AppendNamed(line, "agent", versions.agent_version());
    AppendNamed(line, "virus", versions.virus_version());
    AppendNamed(line, "patch", versions.patchdb_version());
    AppendNamed(line, "ioa", versions.ioadb_version());
    AppendNamed(line, "ioc", versions.iocdb_version());
    if (!versions.mgr_addr().empty()) {
        Append(line, "manager " + ShownText(versions.mgr_addr()), "; ");
    }
    return "versions " + line;
}

std::string Change(const bf_kxepinfo::epinfo_msg_sys& section) {
    std::string line = section.change().is_changed() == bf_kxepinfo::IS_CHANGED
                           ? "changed"
                           : "not changed, sent to refresh";
    return section.nw_info().is_ip_changed() ? line + "; addresses changed" : line;
}

std::string Login(const bf_kxepinfo::epinfo_msg_usr& login) {
    const std::string name = ShownText(login.login_name());
    const std::string host = ShownText(login.login_ip());
    return "login " + (name.empty() ? "(no name)" : name) + (host.empty() ? "" : " from " + host) +
           " at " + ShownText(login.login_time());
}

// Each line of `lines` with the block's margin; a line end is added to the last one.
void AppendLines(std::string& block, const std::string& lines) {
    for (std::size_t start = 0; start < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', start), lines.size());
        block.append("  ").append(lines, start, end - start).append("\n");
        start = end + 1;
    }
}

void AppendSystem(std::string& block, const bf_kxepinfo::epinfo_msg_sys& section) {
    if (section.has_base_info()) {
        AppendLines(block, Host(section.base_info()));
        AppendLines(block, Kernel(section.base_info()));
    }
    if (section.has_nw_info()) {
        AppendLines(block, AdapterTable(section.nw_info()));
    }
    if (section.has_agent_info()) {
        AppendLines(block, Versions(section.agent_info()));
    }
    AppendLines(block, Change(section));
}

}  // namespace

std::string CmdInWords(std::uint32_t cmd) {
    constexpr std::pair<std::uint32_t, const char*> kNames[] = {
        {bf_kxepinfo::UI_MGR_CHECK, "check"},  {bf_kxepinfo::AGT_MGR_RC, "resources"},
        {bf_kxepinfo::AGT_MGR_SYS, "system"},  {bf_kxepinfo::AGT_MGR_LOGIN, "login"},
        {bf_kxepinfo::AGT_MGR_TRUST, "trust"}, {bf_kxepinfo::AGT_MGR_CUSTOM, "custom"},
    };
    std::string words;
    for (const auto& [bit, name] : kNames) {
        if ((cmd & bit) != 0) {
            Append(words, name);
            cmd &= ~bit;
        }
    }
    if (cmd != 0) {
        Append(words, Format("0x%x", cmd));
    }
    return words.empty() ? "nothing" : words;
}

std::string Block(const Upload& upload) {
    const epinfo& message = upload.message;
    std::string block =
        LocalTime(static_cast<std::uint64_t>(upload.received.tv_sec)) +
        Format(".%03ld  agent %u (", upload.received.tv_nsec / 1'000'000, message.agent_id()) +
        ShownText(upload.from) + ")  " + CmdInWords(message.cmd()) + "\n";
    if (message.has_rc_info()) {
        AppendLines(block, Resources(message.rc_info()));
    }
    if (message.has_sys_info()) {
        AppendSystem(block, message.sys_info());
    }
    for (const auto& login : message.login_info().usr_info()) {
        AppendLines(block, Login(login));
    }
    if (const std::string rest = Leftover(message); !rest.empty()) {
        AppendLines(block, "besides " + rest);
    }
    return block;
}

std::string AnswerInWords(const bf_kxepinfo::epinfo_msg_respone& answer, std::string_view fault) {
    std::string lines;
    if (answer.status() == 0) {
        AppendLines(lines, "refused: " + ShownText(answer.res_msg()));
    } else if (answer.duplicate() != 0) {
        AppendLines(lines, "duplicate: this agent id belongs to another machine");
    }
    if (!fault.empty()) {
        AppendLines(lines, "fault " + ShownText(fault));
    }
    return lines;
}

}  // namespace kxapp
