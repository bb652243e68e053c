// A manager that fails now and then, in turns of 250 cycles.
#ifndef KXEPINFO_TESTS_E2E_SOAK_MANAGER_LIFE_H
#define KXEPINFO_TESTS_E2E_SOAK_MANAGER_LIFE_H

#include <map>
#include <string>
#include <vector>

#include "agent.h"

namespace kxtest {

class ManagerLife {
  public:
    static constexpr std::size_t kFaultKinds = 9;

    explicit ManagerLife(Agent& agent) : m_agent(agent) {}

    // Stops it for a while, kills it, and starts it again with all its faults to come, each in its
    // cycle of the turn. In every fourth turn it is stopped for so long that requests time out.
    void GoOnBefore(int cycle);

    // Whether it has answered for a while and so an agent has its usual connections.
    bool IsCalm() const { return m_calm; }

    // Without failures from now on.
    void GetWell();

    // How many uploads it has got in all its lives, by kind of fault in the answer: "refuse"; ""
    // for none. To be called when no more will come.
    std::map<std::string, int> EndAndCountUploads();

  private:
    void Start(std::vector<std::string> arguments = {});
    void Kill();
    void KeepCounts();

    Agent& m_agent;
    bool m_dead = true;
    bool m_calm = false;
    std::map<std::string, int> m_uploads;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_SOAK_MANAGER_LIFE_H
