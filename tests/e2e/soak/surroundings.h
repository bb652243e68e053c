// All that changes around an agent: the machine, the installation's files, and what others ask it.
#ifndef KXEPINFO_TESTS_E2E_SOAK_SURROUNDINGS_H
#define KXEPINFO_TESTS_E2E_SOAK_SURROUNDINGS_H

#include "agent.h"

namespace kxtest {

// On a quiet machine (quiet_machine.h), which this disturbs. Each kind of change has a rhythm of
// its own, so that over many cycles every kind meets every other.
class Surroundings {
  public:
    explicit Surroundings(const Agent& agent) : m_agent(agent) {}

    // Makes the changes that come before the cycle of that number.
    void ChangeBefore(int cycle);

  private:
    void ChangeAdapters(int turn);
    void ChangeVersions(int turn) const;
    void ChangeConnection(int turn) const;
    void ChangeManagerAddress(int turn) const;
    void ChangeConfiguration(int turn) const;
    void LogIn(int turn);
    void Ask(int turn) const;

    const Agent& m_agent;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_SOAK_SURROUNDINGS_H
