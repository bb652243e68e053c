// What goes on around and inside an agent while parts of it are killed.
#ifndef KXEPINFO_TESTS_E2E_CRASH_TRAFFIC_H
#define KXEPINFO_TESTS_E2E_CRASH_TRAFFIC_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "agent.h"

namespace kxtest {

// The configuration of that number as the centre's file holds it: up to four addresses, which are
// those of no other.
std::string Configuration(int number);

// The number of a configuration with these addresses, in their order; -1 when no configuration has
// exactly these.
int NumberOfConfiguration(const std::vector<std::string>& addresses);

// Runs until it is destroyed, on threads of its own: the configuration changes and is told of over
// and over, the agent is asked and told things, another writer shares net_config.ini, another agent
// uploads, and addresses of the machine come and go where `machine_may_change` allows it.
class Traffic {
  public:
    // The other agent's name on the bus.
    static constexpr char kSender[] = "sender";

    Traffic(const Agent& agent, bool machine_may_change);
    ~Traffic();
    Traffic(const Traffic&) = delete;
    Traffic& operator=(const Traffic&) = delete;

    // The number of the configuration that was written last.
    int configuration() const { return m_configuration; }
    // The numbers of the other agent's uploads that the manager has accepted so far.
    std::set<std::int64_t> accepted();

  private:
    void Repeat(std::function<void(int turn)> work);
    void ChangeConfiguration();
    void Ask(int turn) const;
    void ShareFile() const;
    void Upload(int turn);

    const Agent& m_agent;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_configuration{0};
    std::mutex m_mutex;  // of the next one
    std::set<std::int64_t> m_accepted;
    std::vector<std::thread> m_threads;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_CRASH_TRAFFIC_H
