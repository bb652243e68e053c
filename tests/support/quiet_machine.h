// A machine on which nothing moves by itself.
#ifndef KXEPINFO_TESTS_SUPPORT_QUIET_MACHINE_H
#define KXEPINFO_TESTS_SUPPORT_QUIET_MACHINE_H

#include <fstream>
#include <string>

#include "agent.h"
#include "namespaces.h"
#include "wtmp_file.h"

namespace kxtest {

// Adds an interface that is up, NAME0; its other end NAME1 stays down. Without IPv6, whose
// addresses come late. In a network of the test's own.
inline bool AddInterface(const std::string& name, const std::string& address) {
    const std::string seen = name + "0";
    const std::string other = name + "1";
    if (!Ip("link add " + seen + " type veth peer name " + other)) {
        return false;
    }
    for (const std::string& end : {seen, other}) {
        std::ofstream("/proc/sys/net/ipv6/conf/" + end + "/disable_ipv6") << 1;
    }
    return Ip("addr add " + address + " dev " + seen + " && ip link set " + seen + " up");
}

// Two interfaces that are up, a0 with 10.1.0.1 and b0 with 10.2.0.1, and one login, alice's. What
// starts on it uploads everything at first, cmd 14, and then resource usage alone, cmd 2.
class QuietMachineTest : public AgentTest {
  protected:
    void SetUp() override {
        if (!EnterOwnNetwork() || !EnterOwnHostName("quiet") || !EnterOwnMounts() ||
            !CoverDirectory("/var/log")) {
            GTEST_SKIP() << "namespaces need root";
        }
        ASSERT_TRUE(AddInterface("a", "10.1.0.1/24"));
        ASSERT_TRUE(AddInterface("b", "10.2.0.1/24"));
        installation().write("config/server.ini", "[config]\naddr=10.1.0.77\n");
        LogIn("alice", 1700000000);
    }

    static void AddLogin(short type, std::string_view user, std::string_view host,
                         int32_t seconds) {
        std::ofstream("/var/log/wtmp", std::ios::binary | std::ios::app)
            << WtmpEntry(type, user, host, seconds);
    }
    static void LogIn(std::string_view user, int32_t seconds) {
        AddLogin(USER_PROCESS, user, "", seconds);
    }

    // The cmd of the upload of that number, the first being 0.
    long long Cmd(std::size_t number) { return Number(Upload(number).get(), "epinfo.cmd"); }
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_QUIET_MACHINE_H
