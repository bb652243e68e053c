#include "kxemgr/block.h"

#include <array>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <utility>

#include "common/text.h"

namespace kxemgr {

namespace {

using bf_kxepinfo::epinfo;
using google::protobuf::RepeatedPtrField;
using kxapp::Shown;

constexpr int kMostAdapters = 16;
constexpr int kMostAddresses = 8;

[[gnu::format(printf, 1, 2)]] std::string Format(const char* format, ...) {
    std::array<char, 128> text{};
    va_list arguments;
    va_start(arguments, format);
    (void)std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    return text.data();
}

// In seconds since the epoch. A time behind the year 9999 is shown as the number it is.
std::string LocalTime(std::uint64_t time) {
    constexpr std::uint64_t kYear10000 = 253'402'300'800;
    const auto seconds = static_cast<std::time_t>(time);
    tm parts{};
    if (time >= kYear10000 || localtime_r(&seconds, &parts) == nullptr) {
        return Format("%" PRIu64, time);
    }
    std::array<char, 32> text{};
    (void)std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &parts);
    return text.data();
}

// Appends to a list with separators, unless there is nothing to append.
void Append(std::string& list, const std::string& item, const char* separator = ", ") {
    if (!item.empty()) {
        list += (list.empty() ? "" : separator) + item;
    }
}

void AppendNamed(std::string& list, const char* name, const std::string& value) {
    if (!value.empty()) {
        Append(list, std::string(name) + " " + Shown(value));
    }
}

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
    Append(line, Shown(base.host_node()));
    Append(line, Shown(base.sys_distro()));
    AppendNamed(line, "Linux", base.sys_release());
    Append(line, Shown(base.sys_machine()));
    Append(line, PlatformInWords(base.host_plat()));
    Append(line, Format("%d processor%s", base.cpu_core(), base.cpu_core() == 1 ? "" : "s"));
    Append(line, base.physical() != 0 ? "physical" : "virtual");
    if (base.uvmid() != 0) {
        Append(line, Format("vm %" PRIu64, base.uvmid()));
    }
    AppendNamed(line, "container", base.containerid());
    if (base.recal_timestamp() != 0) {
        Append(line, "id recalculation flagged " + LocalTime(base.recal_timestamp()));
    }
    return "host " + line;
}

void AppendAddresses(std::string& line, const RepeatedPtrField<std::string>& addresses) {
    for (int i = 0; i < addresses.size() && i < kMostAddresses; ++i) {
        Append(line, Shown(addresses[i]), "  ");
    }
    if (addresses.size() > kMostAddresses) {
        Append(line, Format("and %d more", addresses.size() - kMostAddresses), "  ");
    }
}

std::string Adapter(const bf_kxepinfo::epinfo_msg_if& adapter) {
    std::string line;
    Append(line, Shown(adapter.if_mac()), "  ");
    AppendAddresses(line, adapter.if_ipv4());
    AppendAddresses(line, adapter.if_ipv6());
    return "adapter " + line;
}

std::string Versions(const bf_kxepinfo::epinfo_msg_agentinfo& versions) {
    std::string line;
    AppendNamed(line, "agent", versions.agent_version());
    AppendNamed(line, "virus", versions.virus_version());
    AppendNamed(line, "patch", versions.patchdb_version());
    AppendNamed(line, "ioa", versions.ioadb_version());
    AppendNamed(line, "ioc", versions.iocdb_version());
    if (!versions.mgr_addr().empty()) {
        Append(line, "manager " + Shown(versions.mgr_addr()), "; ");
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
    const std::string name = Shown(login.login_name());
    const std::string host = Shown(login.login_ip());
    return "login " + (name.empty() ? "(no name)" : name) + (host.empty() ? "" : " from " + host) +
           " at " + Shown(login.login_time());
}

void AppendLine(std::string& block, const std::string& line) {
    block += "  " + line + "\n";
}

void AppendSystem(std::string& block, const bf_kxepinfo::epinfo_msg_sys& section) {
    if (section.has_base_info()) {
        AppendLine(block, Host(section.base_info()));
    }
    const auto& adapters = section.nw_info().if_info();
    for (int i = 0; i < adapters.size() && i < kMostAdapters; ++i) {
        AppendLine(block, Adapter(adapters[i]));
    }
    if (adapters.size() > kMostAdapters) {
        AppendLine(block, Format("and %d more adapters", adapters.size() - kMostAdapters));
    }
    if (section.has_agent_info()) {
        AppendLine(block, Versions(section.agent_info()));
    }
    AppendLine(block, Change(section));
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
        Shown(upload.from) + ")  " + CmdInWords(message.cmd()) + "\n";
    if (message.has_rc_info()) {
        AppendLine(block, Resources(message.rc_info()));
    }
    if (message.has_sys_info()) {
        AppendSystem(block, message.sys_info());
    }
    if (message.login_info().usr_info_size() > 0) {
        AppendLine(block, Login(message.login_info().usr_info(0)));
    }
    return block;
}

}  // namespace kxemgr
