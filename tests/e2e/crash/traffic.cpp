#include "traffic.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "namespaces.h"

namespace kxtest {
namespace {

constexpr int kMostAddresses = 4;

std::vector<std::string> AddressesOf(int number) {
    const std::string beginning =
        "10." + std::to_string(number / 250) + "." + std::to_string(number % 250) + ".";
    std::vector<std::string> addresses;
    for (int i = 0; i <= number % kMostAddresses; ++i) {
        addresses.push_back(beginning + std::to_string(i + 1));
    }
    return addresses;
}

// So that its reader never sees half of it.
void WriteAtOnce(const AgentInstallation& installation, const std::string& text) {
    const auto beside = installation.root().parent_path() / "next";
    std::ofstream(beside, std::ios::trunc) << text;
    std::filesystem::rename(beside, installation.path("config/cfgc.ini"));
}

void Pause(int milliseconds) {
    std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

}  // namespace

std::string Configuration(int number) {
    std::string text = "[multi_ip]\n";
    int i = 0;
    for (const std::string& address : AddressesOf(number)) {
        text += "ip" + std::to_string(i++) + "=" + address + "\n";
    }
    return text;
}

int NumberOfConfiguration(const std::vector<std::string>& addresses) {
    int high = 0;
    int low = 0;
    if (addresses.empty() || std::sscanf(addresses[0].c_str(), "10.%d.%d.", &high, &low) != 2) {
        return -1;
    }
    const int number = high * 250 + low;
    return AddressesOf(number) == addresses ? number : -1;
}

Traffic::Traffic(const Agent& agent, bool machine_may_change) : m_agent(agent) {
    // In milliseconds.
    constexpr int kSettles = 150;  // a changed file is read once it has rested
    constexpr int kMoment = 20;
    ChangeConfiguration();
    Repeat([this](int) {
        Pause(kSettles);
        ChangeConfiguration();
    });
    Repeat([this](int) {
        (void)RunToEnd(m_agent.installation().program("kx_peer"), {"notify", "10"});
        Pause(kMoment);
    });
    Repeat([this](int turn) {
        Ask(turn);
        Pause(kMoment);
    });
    Repeat([this](int) {
        ShareFile();
        Pause(kMoment);
    });
    Repeat([this](int turn) {
        Upload(turn);
        Pause(kMoment);
    });
    if (machine_may_change) {
        Repeat([](int turn) {
            const std::string change = turn % 2 == 0 ? "add" : "del";
            EXPECT_TRUE(Ip("addr " + change + " 10.1.1." + std::to_string(turn / 2 % 200 + 1) +
                           "/32 dev a0"));
            Pause(kMoment);
        });
    }
}

Traffic::~Traffic() {
    m_stop = true;
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void Traffic::Repeat(std::function<void(int turn)> work) {
    m_threads.emplace_back([this, work = std::move(work)] {
        for (int turn = 0; !m_stop; ++turn) {
            work(turn);
        }
    });
}

void Traffic::ChangeConfiguration() {
    const int number = m_configuration + 1;
    WriteAtOnce(m_agent.installation(), Configuration(number));
    m_configuration = number;
}

// Whether there is an answer depends on who lives.
void Traffic::Ask(int turn) const {
    const std::vector<std::string> questions[] = {{"heartbeat", "1"}, {"notify"}, {"online"}};
    (void)m_agent.Ctl(questions[turn % 3]);
}

// A lock or a file that somebody left in a bad state would end it.
void Traffic::ShareFile() const {
    const Finished neighbour =
        RunToEnd(m_agent.installation().program("kx_neighbour"), {"count", "neighbour", "3"});
    EXPECT_EQ(neighbour.status, 0) << neighbour.errors;
}

// It ends before its time when the manager is killed.
void Traffic::Upload(int turn) {
    constexpr int kCount = 20;
    const Finished sender =
        RunToEnd(m_agent.installation().program("upload_sender"),
                 {"1", std::to_string(turn * kCount + 1), std::to_string(kCount), kSender});
    EXPECT_EQ(sender.status, 0) << sender.errors;
    std::istringstream lines(sender.output);
    const std::lock_guard lock(m_mutex);
    std::int64_t number = 0;
    int status = 0;
    int duplicate = 0;
    while (lines >> number >> status >> duplicate) {
        EXPECT_EQ(status, 1) << number;
        m_accepted.insert(number);
    }
}

std::set<std::int64_t> Traffic::accepted() {
    const std::lock_guard lock(m_mutex);
    return m_accepted;
}

}  // namespace kxtest
