#include "upload.h"

#include <array>
#include <cstdio>
#include <ctime>

#include "epinfo.pb.h"
#include "ipc/frame.h"

namespace {

constexpr unsigned kUploadsWithFacts = 16;

// `format` has places for two bytes, those of the number.
std::string Format(const char* format, unsigned number) {
    std::array<char, 64> text{};
    (void)std::snprintf(text.data(), text.size(), format, number >> 8U & 0xFFU, number & 0xFFU);
    return text.data();
}

void AddFacts(unsigned agent, bf_kxepinfo::epinfo& upload) {
    bf_kxepinfo::epinfo_msg_sys& section = *upload.mutable_sys_info();
    bf_kxepinfo::epinfo_msg_base& base = *section.mutable_base_info();
    base.set_host_node("machine-" + std::to_string(agent));
    base.set_host_plat(4);
    base.set_host_type(1);
    base.set_cpu_core(2);
    base.set_sys_release("6.1.0-18-amd64");
    base.set_sys_version("#1 SMP PREEMPT_DYNAMIC Debian 6.1.76-1");
    base.set_sys_machine("x86_64");
    base.set_sys_distro("Debian GNU/Linux 12");
    base.set_uvmid(agent);
    for (const char* format : {"52-54-00-00-%02X-%02X", "52-54-00-01-%02X-%02X"}) {
        bf_kxepinfo::epinfo_msg_if& interface = *section.mutable_nw_info()->add_if_info();
        interface.set_if_mac(Format(format, agent));
        interface.add_if_ipv4(Format("10.0.%u.%u", agent));
        interface.add_if_ipv6(Format("fe80::5054:ff:fe%02x:%02x", agent));
    }
    section.mutable_agent_info()->set_agent_version("3.2.10.1");
    section.mutable_agent_info()->set_mgr_addr("192.0.2.10:443");
    section.mutable_change()->set_is_changed(bf_kxepinfo::IS_CHANGED);
}

void AddLogin(bf_kxepinfo::epinfo& upload) {
    bf_kxepinfo::epinfo_msg_usr& login = *upload.mutable_login_info()->add_usr_info();
    login.set_login_time("2024-02-29 12:00:00");
    login.set_login_name(std::string("somebody").append(24, '\0'));
    login.set_login_ip(std::string("192.0.2.1").append(247, '\0'));
}

}  // namespace

std::string MakeUpload(unsigned agent, unsigned number) {
    bf_kxepinfo::epinfo upload;
    unsigned cmd = bf_kxepinfo::AGT_MGR_RC;
    upload.mutable_rc_info()->set_cpu_usage(number % 10000);
    upload.mutable_rc_info()->set_mem_total(16384000);
    upload.mutable_rc_info()->set_mem_usaged(8192000 + number);
    if (number % kUploadsWithFacts == 0) {
        cmd |= bf_kxepinfo::AGT_MGR_SYS;
        AddFacts(agent, upload);
    }
    if (number == 0) {
        cmd |= bf_kxepinfo::AGT_MGR_LOGIN;
        AddLogin(upload);
    }
    upload.set_cmd(cmd);
    upload.set_agent_id(agent);
    upload.set_agent_timestamp(static_cast<std::uint64_t>(std::time(nullptr)));
    std::string frame(kFrameHeaderSize, '\0');
    (void)upload.AppendToString(&frame);
    WriteFrameHeader(frame.data(), static_cast<std::uint32_t>(frame.size() - kFrameHeaderSize));
    return frame;
}

bool IsAccepted(std::string_view answer) {
    bf_kxepinfo::epinfo_msg_respone message;
    return answer.size() >= kFrameHeaderSize &&
           message.ParseFromArray(answer.data() + kFrameHeaderSize,
                                  static_cast<int>(answer.size() - kFrameHeaderSize)) &&
           message.status() != 0 && message.duplicate() == 0;
}
