#include "common/block.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>

using kxapp::Block;
using kxapp::CmdInWords;
using namespace std::string_literals;

namespace {

// 2023-11-14 22:13:20 UTC, in a zone one hour east of it.
class BlockTest : public ::testing::Test {
  protected:
    BlockTest() {
        setenv("TZ", "TEST-1", 1);
        tzset();
        upload.received = {1700000000, 123'999'999};
        upload.from = "agt_ei";
        upload.message.set_agent_id(4711);
    }

    // The lines below the first.
    std::string body() const {
        const std::string block = Block(upload);
        return block.substr(block.find('\n') + 1);
    }

    kxapp::Upload upload;
};

void FillSystem(bf_kxepinfo::epinfo_msg_sys& system) {
    auto& base = *system.mutable_base_info();
    base.set_host_node("build-7");
    base.set_host_plat(4);
    base.set_host_type(1);
    base.set_physical(1);
    base.set_sys_release("6.1.0-18-amd64");
    base.set_sys_version("#1 SMP");
    base.set_sys_machine("x86_64");
    base.set_sys_distro("Debian 12");
    base.set_cpu_core(4);
    auto& adapter = *system.mutable_nw_info()->add_if_info();
    adapter.set_if_mac("00-1A-2B-3C-4D-5E");
    adapter.add_if_ipv4("10.0.0.5");
    adapter.add_if_ipv6("fe80::1");
    auto& versions = *system.mutable_agent_info();
    versions.set_agent_version("3.2.10");
    versions.set_virus_version("2019");
    versions.set_patchdb_version("2018");
    versions.set_ioadb_version("1");
    versions.set_iocdb_version("0.2");
    versions.set_mgr_addr("127.0.0.1");
    system.mutable_change()->set_is_changed(bf_kxepinfo::IS_CHANGED);
}

}  // namespace

TEST(CmdInWords, NamesEachBit) {
    EXPECT_EQ(CmdInWords(0), "nothing");
    EXPECT_EQ(CmdInWords(2), "resources");
    EXPECT_EQ(CmdInWords(6), "resources, system");
    EXPECT_EQ(CmdInWords(14), "resources, system, login");
    EXPECT_EQ(CmdInWords(63), "check, resources, system, login, trust, custom");
}

TEST(CmdInWords, ShowsBitsWithoutANameAsANumber) {
    EXPECT_EQ(CmdInWords(0x40), "0x40");
    EXPECT_EQ(CmdInWords(0xF0000002), "resources, 0xf0000000");
}

TEST_F(BlockTest, OfAResourceUpload) {
    upload.message.set_cmd(2);
    auto& resources = *upload.message.mutable_rc_info();
    resources.set_cpu_usage(327);
    resources.set_mem_total(8142428);
    resources.set_mem_usaged(1234567);
    EXPECT_EQ(Block(upload),
              "2023-11-14 23:13:20.123  agent 4711 (agt_ei)  resources\n"
              "  cpu 3.27 %  memory 1205 of 7951 MiB (15.2 %)\n");
}

TEST_F(BlockTest, OfEverything) {
    upload.message.set_cmd(14);
    upload.message.mutable_rc_info()->set_cpu_usage(10000);
    FillSystem(*upload.message.mutable_sys_info());
    auto& login = *upload.message.mutable_login_info()->add_usr_info();
    login.set_login_name("root" + std::string(28, '\0'));
    login.set_login_ip("10.0.0.9" + std::string(248, '\0'));
    login.set_login_time("2026-11-21 08:15:00");
    EXPECT_EQ(Block(upload),
              "2023-11-14 23:13:20.123  agent 4711 (agt_ei)  resources, system, login\n"
              "  cpu 100.00 %  memory 0 of 0 MiB (0.0 %)\n"
              "  host build-7, Debian 12, x86_64, 64-bit, 4 processors, physical\n"
              "  kernel 6.1.0-18-amd64 #1 SMP\n"
              "  adapter  MAC                IPv4      IPv6\n"
              "  link     00-1A-2B-3C-4D-5E  10.0.0.5  fe80::1\n"
              "  versions agent 3.2.10, virus 2019, patch 2018, ioa 1, ioc 0.2; manager 127.0.0.1\n"
              "  changed\n"
              "  login root from 10.0.0.9 at 2026-11-21 08:15:00\n");
}

TEST_F(BlockTest, OfAVirtualMachineInAContainer) {
    auto& base = *upload.message.mutable_sys_info()->mutable_base_info();
    base.set_host_plat(3);
    base.set_cpu_core(-1);
    base.set_uvmid(18446744073709551615U);
    base.set_containerid("0123abcd");
    base.set_recal_timestamp(1700000000);
    base.set_host_type(1);
    upload.message.mutable_sys_info()->mutable_nw_info()->set_is_ip_changed(true);
    EXPECT_EQ(body(),
              "  host 32-bit, -1 processors, virtual, vm 18446744073709551615, container 0123abcd, "
              "id recalculation flagged 2023-11-14 23:13:20\n"
              "  kernel unknown\n"
              "  adapter  none\n"
              "  not changed, sent to refresh; addresses changed\n");
}

TEST_F(BlockTest, OfOneProcessorAndAnAbsurdTime) {
    auto& base = *upload.message.mutable_sys_info()->mutable_base_info();
    base.set_cpu_core(1);
    base.set_recal_timestamp(18446744073709551615U);
    EXPECT_EQ(body(),
              "  host platform 0, 1 processor, virtual, host type 0, id recalculation flagged "
              "18446744073709551615\n"
              "  kernel unknown\n"
              "  not changed, sent to refresh\n");
}

TEST_F(BlockTest, OfALoginWithoutANameOrHost) {
    auto& login = *upload.message.mutable_login_info()->add_usr_info();
    login.set_login_name(std::string(32, '\0'));
    login.set_login_ip(std::string(256, '\0'));
    login.set_login_time("2026-11-21 08:15:00");
    EXPECT_EQ(body(), "  login (no name) at 2026-11-21 08:15:00\n");
}

TEST_F(BlockTest, OfAnEmptyUploadIsItsFirstLine) {
    EXPECT_EQ(Block(upload), "2023-11-14 23:13:20.123  agent 4711 (agt_ei)  nothing\n");
}

TEST_F(BlockTest, OfMemoryBeyondASane32BitNumberDoesNotOverflow) {
    auto& resources = *upload.message.mutable_rc_info();
    resources.set_cpu_usage(4294967295U);
    resources.set_mem_total(1);
    resources.set_mem_usaged(4294967295U);
    EXPECT_EQ(body(), "  cpu 42949672.95 %  memory 4194303 of 0 MiB (429496729500.0 %)\n");
}

TEST_F(BlockTest, EscapesWhatTheAgentSays) {
    auto& login = *upload.message.mutable_login_info()->add_usr_info();
    login.set_login_name("a\x1B[2J");
    login.set_login_ip("h\nforged");
    login.set_login_time("t\rx");
    upload.from = "x\ty";
    EXPECT_EQ(Block(upload),
              "2023-11-14 23:13:20.123  agent 4711 (x\\x09y)  nothing\n"
              "  login a\\x1B[2J from h\\x0Aforged at t\\x0Dx\n");
}

TEST_F(BlockTest, CutsALongText) {
    upload.message.mutable_login_info()->add_usr_info()->set_login_name(std::string(257, 'n'));
    EXPECT_EQ(body(), "  login " + std::string(256, 'n') + "... at \n");
}

TEST_F(BlockTest, ListsEveryLogin) {
    upload.message.mutable_login_info()->add_usr_info()->set_login_name("a");
    upload.message.mutable_login_info()->add_usr_info()->set_login_name("b");
    EXPECT_EQ(body(), "  login a at \n  login b at \n");
}

TEST_F(BlockTest, TellsInTheEndWhatTheModuleNeverSends) {
    upload.message.mutable_rc_info()->set_disk_read_speed(5);
    FillSystem(*upload.message.mutable_sys_info());
    upload.message.mutable_sys_info()->mutable_account_info()->set_domain("d\x1B");
    upload.message.mutable_sys_info()->mutable_agent_info()->set_struser("bob");
    upload.message.mutable_ui_info()->add_agent_id(7);
    EXPECT_THAT(body(), testing::EndsWith(
                            "\n  besides rc_info { disk_read_speed: 5 } sys_info { agent_info { "
                            "strUser: \"bob\" } account_info { domain: \"d\\033\" } } ui_info { "
                            "agent_id: 7 }\n"));
}

TEST_F(BlockTest, ShowsFieldsThatTheSchemaDoesNotHave) {
    ASSERT_TRUE(upload.message.ParseFromString("\x78\x05"));
    EXPECT_EQ(body(), "  besides 15: 5\n");
}

TEST_F(BlockTest, CutsWhatIsBesides) {
    upload.message.mutable_custom_info()->set_pacthinfo(std::string(2000, 'p'));
    const std::string begin = "custom_info { pacthInfo: \"";
    EXPECT_EQ(body(), "  besides " + begin + std::string(1000 - begin.size(), 'p') + "...\n");
}

TEST(AnswerInWords, IsNothingForAPlainAcceptance) {
    bf_kxepinfo::epinfo_msg_respone answer;
    answer.set_status(1);
    EXPECT_EQ(kxapp::AnswerInWords(answer, ""), "");
}

TEST(AnswerInWords, TellsADuplicateAndARefusal) {
    bf_kxepinfo::epinfo_msg_respone answer;
    answer.set_duplicate(1);
    answer.set_res_msg("no\nroom");
    EXPECT_EQ(kxapp::AnswerInWords(answer, ""), "  refused: no\\x0Aroom\n");
    answer.set_status(1);
    EXPECT_EQ(kxapp::AnswerInWords(answer, ""),
              "  duplicate: this agent id belongs to another machine\n");
}

TEST(AnswerInWords, TellsTheFaultThatWasPlayed) {
    bf_kxepinfo::epinfo_msg_respone answer;
    answer.set_status(1);
    EXPECT_EQ(kxapp::AnswerInWords(answer, "silent"), "  fault silent\n");
    answer.set_status(0);
    answer.set_res_msg("no");
    EXPECT_EQ(kxapp::AnswerInWords(answer, "refuse"), "  refused: no\n  fault refuse\n");
}
