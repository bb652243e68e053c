// A whole agent that somebody does something to, and what must hold afterwards.
#ifndef KXEPINFO_TESTS_E2E_HOSTILE_AGENT_UNDER_ATTACK_H
#define KXEPINFO_TESTS_E2E_HOSTILE_AGENT_UNDER_ATTACK_H

#include <ostream>
#include <string>
#include <vector>

#include "agent.h"
#include "process.h"

namespace kxtest {

// Manager, configuration centre, and a host with time that the test moves.
class AgentUnderAttack : public AgentTest {
  protected:
    // Returns when all of them are at rest. What they hold and tell then is what they must hold and
    // tell again after an attack.
    void StartAgent();

    // A new host, or a new start of the module in the one that runs. Either uploads at once.
    void RestartHost();
    void RestartModule();
    void StopHost();
    void StartHostAgain();
    // One more cycle.
    void Step();
    // When another manager counts them.
    void ForgetUploads() { m_uploads = 0; }
    // Until so many more uploads have come than the last time.
    void AwaitUploads(std::size_t count);

    // The next cycle tells what the first ones told, the other conversations go on, and nothing is
    // held that was not held before.
    void CheckCalm();

    Program& host() { return *m_host; }
    Program& centre() { return *m_centre; }

  private:
    void CheckConversations();
    std::vector<const Program*> Programs() { return {m_host, &manager(), m_centre}; }
    std::vector<Held> Holdings();
    void CheckHoldings();

    // The last that uploads told.
    struct Told {
        std::string system;
        std::string login;
        long long memory = 0;  // KiB in the machine
        bool operator==(const Told&) const = default;
    };
    friend std::ostream& operator<<(std::ostream& out, const Told& told);

    Program* m_host = nullptr;
    Program* m_centre = nullptr;
    std::size_t m_uploads = 0;  // looked at so far
    Told m_told;
    Told m_told_at_first;
    std::vector<Held> m_held_at_first;  // by each of Programs
    int m_changes = 0;                  // of the configuration
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_HOSTILE_AGENT_UNDER_ATTACK_H
