#include "manager_life.h"

#include <csignal>

namespace kxtest {
namespace {

constexpr int kTurn = 250;  // cycles
constexpr int kLongStopEvery = 4;

// In the turn:
constexpr int kStop = 40;
constexpr int kGoOn = 60;
constexpr int kCalm = 75;
constexpr int kKill = 120;
constexpr int kRestart = 128;
constexpr int kCalmAgain = 180;
constexpr int kGoOnAfterLongStop = 200;
constexpr int kCalmAfterLongStop = 220;

// Six in a row that are refused make the agent offline.
const std::vector<std::string> kFaults = {
    "--fault", "refuse:6",  "--fault", "silent:2", "--fault", "slow:2",
    "--fault", "garbage:2", "--fault", "short:1",  "--fault", "type2:1",
    "--fault", "long:1",    "--fault", "close:2",  "--fault", "duplicate:1"};

}  // namespace

void ManagerLife::Start(std::vector<std::string> arguments) {
    m_agent.StartManager(std::move(arguments));
    m_dead = false;
}

void ManagerLife::Kill() {
    m_agent.manager().signal(SIGKILL);
    EXPECT_EQ(m_agent.manager().wait(), 128 + SIGKILL);
    m_dead = true;
    KeepCounts();
}

void ManagerLife::GoOnBefore(int cycle) {
    const int place = cycle % kTurn;
    const bool is_long_stop = cycle / kTurn % kLongStopEvery == kLongStopEvery - 1;
    if (cycle == 0) {
        Start();
        m_calm = true;
    }
    if (place == kStop) {
        m_agent.manager().signal(SIGSTOP);
        m_calm = false;
    } else if (place == (is_long_stop ? kGoOnAfterLongStop : kGoOn)) {
        m_agent.manager().signal(SIGCONT);
    } else if (!is_long_stop && place == kKill) {
        Kill();
        m_calm = false;
    } else if (!is_long_stop && place == kRestart) {
        Start(kFaults);
    } else if (is_long_stop ? place == kCalmAfterLongStop : place == kCalm || place == kCalmAgain) {
        m_calm = true;
    }
}

void ManagerLife::GetWell() {
    if (m_dead) {
        Start();
    }
    m_agent.manager().signal(SIGCONT);
}

void ManagerLife::KeepCounts() {
    for (const std::string& line : m_agent.manager().wait_for_lines(0)) {
        ++m_uploads[Text(ParseJson(line).get(), "fault")];
    }
}

std::map<std::string, int> ManagerLife::EndAndCountUploads() {
    EXPECT_EQ(m_agent.manager().stop(), 0);
    KeepCounts();
    return m_uploads;
}

}  // namespace kxtest
