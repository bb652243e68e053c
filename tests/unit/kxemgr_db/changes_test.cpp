// What counts as a change, and how it is told.
#include "kxemgr/changes.h"

#include <gmock/gmock.h>

using bf_kxepinfo::epinfo_msg_login;
using bf_kxepinfo::epinfo_msg_sys;
using kxemgr::Change;
using kxemgr::CompareLogins;
using kxemgr::CompareSystems;
using testing::ElementsAre;
using testing::IsEmpty;

namespace kxemgr {

void PrintTo(const Change& change, std::ostream* out) {
    *out << change.subject << "|" << change.item << "|" << change.before << "|" << change.after;
}

}  // namespace kxemgr

namespace {

void AddAdapter(epinfo_msg_sys& section, const std::string& mac,
                const std::vector<std::string>& ipv4, const std::vector<std::string>& ipv6 = {}) {
    auto& adapter = *section.mutable_nw_info()->add_if_info();
    adapter.set_if_mac(mac);
    adapter.mutable_if_ipv4()->Add(ipv4.begin(), ipv4.end());
    adapter.mutable_if_ipv6()->Add(ipv6.begin(), ipv6.end());
}

epinfo_msg_sys Sample() {
    epinfo_msg_sys section;
    auto& base = *section.mutable_base_info();
    base.set_host_node("build-7");
    base.set_sys_distro("Debian 12");
    base.set_sys_release("6.1.0-18");
    base.set_sys_version("#1 SMP");
    base.set_sys_machine("x86_64");
    base.set_cpu_core(4);
    base.set_uvmid(9);
    AddAdapter(section, "M1", {"10.0.0.5"}, {"fe80::1"});
    AddAdapter(section, "M2", {"172.17.0.1"});
    section.mutable_agent_info()->set_agent_version("3.2.10");
    return section;
}

}  // namespace

TEST(Changes, NoneBetweenTheSame) {
    EXPECT_THAT(CompareSystems(Sample(), Sample()), IsEmpty());
}

TEST(Changes, EachFactOfTheSystem) {
    auto after = Sample();
    auto& base = *after.mutable_base_info();
    base.set_host_node("build-8");
    base.set_sys_distro("Debian 13");
    base.set_sys_release("6.12");
    base.set_sys_version("#2 SMP");
    base.set_sys_machine("aarch64");
    base.set_cpu_core(8);
    base.set_physical(1);
    base.set_uvmid(0);
    base.set_containerid("c1");
    EXPECT_THAT(CompareSystems(Sample(), after),
                ElementsAre(Change{"system", "host name", "build-7", "build-8"},
                            Change{"system", "distribution", "Debian 12", "Debian 13"},
                            Change{"system", "kernel", "6.1.0-18", "6.12"},
                            Change{"system", "kernel build", "#1 SMP", "#2 SMP"},
                            Change{"system", "architecture", "x86_64", "aarch64"},
                            Change{"system", "processors", "4", "8"},
                            Change{"system", "machine", "virtual", "physical"},
                            Change{"system", "virtual machine", "9", ""},
                            Change{"system", "container", "", "c1"}));
}

TEST(Changes, EachVersionAndTheManager) {
    auto after = Sample();
    auto& versions = *after.mutable_agent_info();
    versions.set_agent_version("3.3");
    versions.set_virus_version("1");
    versions.set_patchdb_version("2");
    versions.set_ioadb_version("3");
    versions.set_iocdb_version("4");
    versions.set_mgr_addr("10.1.1.1");
    EXPECT_THAT(
        CompareSystems(Sample(), after),
        ElementsAre(Change{"version", "agent", "3.2.10", "3.3"},
                    Change{"version", "virus", "", "1"}, Change{"version", "patch", "", "2"},
                    Change{"version", "ioa", "", "3"}, Change{"version", "ioc", "", "4"},
                    Change{"system", "manager", "", "10.1.1.1"}));
}

TEST(Changes, AnAddressThatComesAndOneThatGoes) {
    auto after = Sample();
    after.mutable_nw_info()->mutable_if_info(0)->set_if_ipv4(0, "10.0.0.6");
    EXPECT_THAT(CompareSystems(Sample(), after),
                ElementsAre(Change{"address", "M1", "10.0.0.5", ""},
                            Change{"address", "M1", "", "10.0.0.6"}));
}

TEST(Changes, AnAdapterTakesItsAddressesAlong) {
    epinfo_msg_sys before;
    AddAdapter(before, "M1", {"10.0.0.5"});
    AddAdapter(before, "M2", {"172.17.0.1"}, {"fe80::2"});
    epinfo_msg_sys after;
    AddAdapter(after, "M1", {"10.0.0.5"});
    AddAdapter(after, "M3", {});
    EXPECT_THAT(CompareSystems(before, after),
                ElementsAre(Change{"adapter", "M2", "172.17.0.1 fe80::2", ""},
                            Change{"adapter", "M3", "", "no address"}));
}

TEST(Changes, AnotherLinkAndNothingElseWhenTheOrderChanges) {
    epinfo_msg_sys after = Sample();
    after.mutable_nw_info()->mutable_if_info()->SwapElements(0, 1);
    EXPECT_THAT(CompareSystems(Sample(), after), ElementsAre(Change{"link", "", "M1", "M2"}));
}

TEST(Changes, AdaptersWithOneMacCountAsOne) {
    epinfo_msg_sys before;
    AddAdapter(before, "", {"10.0.0.1"});
    AddAdapter(before, "", {"10.0.0.2"});
    epinfo_msg_sys after;
    AddAdapter(after, "", {"10.0.0.2"});
    EXPECT_THAT(CompareSystems(before, after), ElementsAre(Change{"address", "", "10.0.0.1", ""}));
}

TEST(Changes, AreBounded) {
    epinfo_msg_sys after;
    for (int i = 0; i < 100; ++i) {
        AddAdapter(after, "M" + std::to_string(i), {});
    }
    const auto changes = CompareSystems({}, after);
    ASSERT_EQ(changes.size(), kxemgr::kMostChanges + 1);
    // 100 adapters, the link and the machine's kind, of which the same on both sides.
    EXPECT_EQ(changes.back(), (Change{"besides", "", "", "37 more changes"}));
}

TEST(Changes, TextsAreCutAndWhatDisturbsATerminalIsEscaped) {
    epinfo_msg_sys after;
    after.mutable_base_info()->set_host_node(std::string(1000, 'x'));
    after.mutable_base_info()->set_sys_distro("a\nb");
    const auto changes = CompareSystems({}, after);
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[0].after, std::string(kxemgr::kMostChangeBytes, 'x') + "...");
    EXPECT_EQ(changes[1].after, "a\\x0Ab");
}

TEST(Changes, ALogin) {
    epinfo_msg_login before;
    auto& old_login = *before.add_usr_info();
    old_login.set_login_name("root");
    old_login.set_login_time("2026-11-21 08:15:00");
    epinfo_msg_login after;
    auto& new_login = *after.add_usr_info();
    new_login.set_login_ip("10.0.0.9");
    new_login.set_login_time("2026-11-21 09:00:00");
    EXPECT_THAT(CompareLogins(before, after),
                ElementsAre(Change{"login", "", "root at 2026-11-21 08:15:00",
                                   "(no name) from 10.0.0.9 at 2026-11-21 09:00:00"}));
    EXPECT_THAT(CompareLogins(before, before), IsEmpty());
    EXPECT_THAT(CompareLogins({}, before),
                ElementsAre(Change{"login", "", "", "root at 2026-11-21 08:15:00"}));
}
