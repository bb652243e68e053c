#include "surroundings.h"

#include <filesystem>
#include <fstream>
#include <string>

#include "namespaces.h"
#include "wtmp_file.h"

namespace kxtest {
namespace {

constexpr char kLogins[] = "/var/log/wtmp";
constexpr int kLoginsInFile = 100;  // then the machine begins a new one

// Told apart for some thousands of turns.
std::string Number(int turn) {
    return std::to_string(turn / 250 % 250) + "." + std::to_string(turn % 250 + 1);
}

void Run(const std::string& ip_arguments) {
    EXPECT_TRUE(Ip(ip_arguments)) << "ip " << ip_arguments;
}

}  // namespace

// An address comes and goes, then an interface with addresses of both kinds, while another one is
// switched off for a time.
void Surroundings::ChangeAdapters(int turn) {
    const int round = turn / 6;
    const std::string address = "10.4." + Number(round);
    switch (turn % 6) {
        case 0:
            return Run("addr add " + address + "/32 dev a0");
        case 1:
            Run("link add c0 type veth peer name c1");
            Run("addr add 10.3." + Number(round) + "/16 dev c0");
            Run("addr add fd00::" + std::to_string(round + 1) + "/64 dev c0 nodad");
            return Run("link set c0 up");
        case 2:
            return Run("addr del " + address + "/32 dev a0");
        case 3:
            return Run("link set b0 down");
        case 4:
            return Run("link del c0");
        default:
            return Run("link set b0 up");
    }
}

void Surroundings::ChangeVersions(int turn) const {
    const std::string number = std::to_string(turn);
    m_agent.installation().write(
        "config/agent_cfg.json",
        turn % 10 == 9
            ? "{\"version\": {\"components\": "  // in the middle of being written
            : "{\"version\": {\"components\": \"3.2." + number + "\", \"virusdbs\": \"v" + number +
                  "\", \"iocdbs\": \"c" + number + "\"}}\n");
}

void Surroundings::ChangeConnection(int turn) const {
    m_agent.installation().write("var/connect.ini",
                                 "[connect]\nip=10." + std::to_string(turn % 2 + 1) + ".0.1\n");
}

void Surroundings::ChangeManagerAddress(int turn) const {
    m_agent.installation().write("config/server.ini",
                                 "[config]\naddr=10.1.0." + std::to_string(turn % 100 + 10) + "\n");
}

// The centre tells the agent, and the agent asks.
void Surroundings::ChangeConfiguration(int turn) const {
    std::string text = "[multi_ip]\n";
    for (int i = 0; i <= turn % 20; ++i) {
        text += "ip" + std::to_string(i) + "=10.5." + Number(turn + i) + "\n";
    }
    m_agent.installation().write("config/cfgc.ini", text);
}

void Surroundings::LogIn(int turn) {
    if (turn % kLoginsInFile == 0) {
        std::filesystem::remove(kLogins);
    }
    std::ofstream(kLogins, std::ios::binary | std::ios::app)
        << WtmpEntry(USER_PROCESS, "user" + std::to_string(turn), "host" + std::to_string(turn % 7),
                     1700000000 + turn);
}

void Surroundings::Ask(int turn) const {
    const std::vector<std::string> told[] = {{"heartbeat", "1"}, {"notify"}, {"heartbeat", "0"}};
    (void)m_agent.Ctl(told[turn % 3]);
}

void Surroundings::ChangeBefore(int cycle) {
    const auto is_turn = [cycle](int rhythm) { return cycle % rhythm == 0; };
    if (is_turn(3)) {
        ChangeAdapters(cycle / 3);
    }
    if (is_turn(4)) {
        LogIn(cycle / 4);
    }
    if (is_turn(5)) {
        ChangeVersions(cycle / 5);
    }
    if (is_turn(7)) {
        ChangeConnection(cycle / 7);
    }
    if (is_turn(11)) {
        ChangeManagerAddress(cycle / 11);
    }
    if (is_turn(13)) {
        ChangeConfiguration(cycle / 13);
    }
    if (is_turn(17)) {
        Ask(cycle / 17);
    }
}

}  // namespace kxtest
