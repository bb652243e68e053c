// What a failed exchange with the manager makes the module forget, field by field.
#include <cerrno>
#include <sstream>
#include <string>

#include "answer_frames.h"
#include "common/state.h"
#include "ipc/response.h"
#include "ipc_fixture.h"

namespace {

using Forgetting = kxtest::IpcTest;

// The bindings name every member, so a record that gains one no longer compiles here.
std::string Text(const _stAgentInfo& info) {
    const auto& [sys_info, ext_info, reserved1, reserved2, adapters, is_ip_changed, change_state] =
        info;
    const auto& [host_type, is_virtual, host_plat, cpu_core, uVmid, host_node, sys_release,
                 sys_version, sys_machine, sys_distro, spare_kind, spare_value, containerId,
                 recal_timestamp] = sys_info;
    const auto& [agent_version, virus_version, patchdb_version, ioadb_version, iocdb_version, ext1,
                 ext2, ext3, mgr_addr] = ext_info;
    std::ostringstream out;
    out << "host_type=" << host_type << " is_virtual=" << is_virtual << " host_plat=" << host_plat
        << " cpu_core=" << cpu_core << " uVmid=" << uVmid << " host_node=" << host_node
        << " sys_release=" << sys_release << " sys_version=" << sys_version
        << " sys_machine=" << sys_machine << " sys_distro=" << sys_distro
        << " spare_kind=" << spare_kind << " spare_value=" << spare_value
        << " containerId=" << containerId << " recal_timestamp=" << recal_timestamp
        << "\nagent_version=" << agent_version << " virus_version=" << virus_version
        << " patchdb_version=" << patchdb_version << " ioadb_version=" << ioadb_version
        << " iocdb_version=" << iocdb_version << " ext1=" << ext1 << " ext2=" << ext2
        << " ext3=" << ext3 << " mgr_addr=" << mgr_addr << "\nreserved1=" << reserved1
        << " reserved2=" << reserved2 << " adapters=" << adapters.size()
        << " is_ip_changed=" << is_ip_changed << " change_state=" << change_state;
    return out.str();
}

std::string Text(const _stUsrLogInfo& info) {
    const auto& [login_time, login_name, login_ip] = info;
    return "login_time=" + login_time + " login_name=" + login_name + " login_ip=" + login_ip;
}

void FillRecords() {
    s_lastAgentInfo.sys_info = {.host_type = 1,
                                .is_virtual = 2,
                                .host_plat = 3,
                                .cpu_core = 4,
                                .uVmid = 5,
                                .host_node = "a",
                                .sys_release = "b",
                                .sys_version = "c",
                                .sys_machine = "d",
                                .sys_distro = "e",
                                .spare_kind = 6,
                                .spare_value = 7,
                                .containerId = "f",
                                .recal_timestamp = 8};
    s_lastAgentInfo.ext_info = {"g", "h", "i", "j", "k", "l", "m", "n", "o"};
    s_lastAgentInfo.reserved_agent1 = "p";
    s_lastAgentInfo.reserved_agent2 = "q";
    s_lastAgentInfo.adapters = {{"mac", "eth0", {"10.0.0.1"}, {"::1"}}, {}};
    s_lastAgentInfo.is_ip_changed = true;
    s_lastAgentInfo.change_state = 9;
    s_lastUsrLogInfo = {"r", "s", "t"};
}

constexpr char kFullAgentInfo[] =
    "host_type=1 is_virtual=2 host_plat=3 cpu_core=4 uVmid=5 host_node=a sys_release=b "
    "sys_version=c sys_machine=d sys_distro=e spare_kind=6 spare_value=7 containerId=f "
    "recal_timestamp=8\n"
    "agent_version=g virus_version=h patchdb_version=i ioadb_version=j iocdb_version=k ext1=l "
    "ext2=m ext3=n mgr_addr=o\n"
    "reserved1=p reserved2=q adapters=2 is_ip_changed=1 change_state=9";

constexpr char kForgottenAgentInfo[] =
    "host_type=0 is_virtual=0 host_plat=0 cpu_core=0 uVmid=5 host_node= sys_release= "
    "sys_version= sys_machine= sys_distro= spare_kind=6 spare_value=7 containerId= "
    "recal_timestamp=8\n"
    "agent_version= virus_version= patchdb_version=i ioadb_version=j iocdb_version=k ext1=l "
    "ext2=m ext3=n mgr_addr=o\n"
    "reserved1=p reserved2=q adapters=0 is_ip_changed=1 change_state=9";

constexpr char kFullLogin[] = "login_time=r login_name=s login_ip=t";
constexpr char kForgottenLogin[] = "login_time= login_name= login_ip=";

void Receive(std::string frame) {
    IpcOnResponse(0, 0, frame.data(), kxtest::Size(frame), nullptr);
}

}  // namespace

TEST_F(Forgetting, AfterAnErrorOfTheBusTakesExactlyTheListedFields) {
    FillRecords();
    IpcOnResponse(ETIMEDOUT, 0, nullptr, 0, nullptr);
    EXPECT_EQ(Text(s_lastAgentInfo), kForgottenAgentInfo);
    EXPECT_EQ(Text(s_lastUsrLogInfo), kForgottenLogin);
}

TEST_F(Forgetting, HappensAfterAnUnreadableAnswer) {
    FillRecords();
    Receive("short");
    EXPECT_EQ(Text(s_lastAgentInfo), kForgottenAgentInfo);
    EXPECT_EQ(Text(s_lastUsrLogInfo), kForgottenLogin);
}

TEST_F(Forgetting, HappensAfterARefusal) {
    FillRecords();
    Receive(kxtest::Frame(kxtest::Refused()));
    EXPECT_EQ(Text(s_lastAgentInfo), kForgottenAgentInfo);
    EXPECT_EQ(Text(s_lastUsrLogInfo), kForgottenLogin);
}

TEST_F(Forgetting, HappensAtEveryFailureOfARow) {
    for (int i = 0; i < 6; ++i) {
        FillRecords();
        IpcOnResponse(ETIMEDOUT, 0, nullptr, 0, nullptr);
        EXPECT_EQ(Text(s_lastAgentInfo), kForgottenAgentInfo) << i;
        EXPECT_EQ(Text(s_lastUsrLogInfo), kForgottenLogin) << i;
    }
}

TEST_F(Forgetting, DoesNotHappenAfterAnAcceptedUpload) {
    FillRecords();
    Receive(kxtest::Frame(kxtest::Accepted()));
    EXPECT_EQ(Text(s_lastAgentInfo), kFullAgentInfo);
    EXPECT_EQ(Text(s_lastUsrLogInfo), kFullLogin);
}
