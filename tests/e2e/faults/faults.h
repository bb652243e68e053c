// An agent in whose host single calls of the C library fail, and what must hold afterwards.
#ifndef KXEPINFO_TESTS_E2E_FAULTS_FAULTS_H
#define KXEPINFO_TESTS_E2E_FAULTS_FAULTS_H

#include <functional>
#include <string>
#include <string_view>

#include "agent.h"
#include "fault_control.h"

namespace kxtest {

// How far the consequences of a failed call may reach.
enum class Reach {
    kCycle,     // the next cycle is right again
    kWorker,    // until the module is started again
    kHost,      // libuv ends the process
    kFromHere,  // every call after the first that fails, fails, too; the next cycle is right again
};

struct Fault {
    const char* function;
    int error;
    Reach reach = Reach::kCycle;
};

class FaultTest : public AgentTest {
  protected:
    FaultTest();
    ~FaultTest() override;

    // One run. The call of that number fails; returns how many calls there were.
    using Run = std::function<long(long nth)>;

    // The module is stopped and started again in a host that lives on, uploads twice, fetches a
    // changed configuration and answers a question.
    long Restart(long nth);
    // A host from its start to its end, which draws the agent's id.
    long Launch(long nth);

    // Runs with the fault at the first call, the second and so on, until a run has no more calls:
    // at each of the first, then at fewer and fewer, or at each when KX_ALL_FAULTS is in the
    // environment.
    void Walk(const Fault& fault, const Run& run);

    // Under a sanitizer, after all of that, it counts what was leaked.
    void StopHost();

  private:
    // What a host has while nothing is going on, and what the manager has been told.
    struct Calm {
        std::size_t descriptors = 0;
        std::size_t threads = 0;
        std::string system;
    };

    void StartAgent();
    void StartFaultyHost();
    void AwaitWorker(int workers_before);
    void AwaitPasses(long passes) const;
    bool WorkerIsGone() const;
    void RestartModule();
    void Step();
    void ChangeConfiguration();

    void Arm(long nth);
    long Disarm() const;
    std::string Circumstances(long nth) const;

    std::string MirrorFile() const;
    bool LacksMemoryToGoOn(int status) const;
    void CheckEnd() const;
    void CheckId() const;
    void CheckMirror() const;
    void CheckCalmCycle();
    void CheckCalm() const;
    Calm LookAround() const;

    FaultControl* m_control;
    Fault m_fault{};
    Program* m_host = nullptr;
    int m_runs = 0;
    int m_changes = 0;  // of the configuration
    std::string m_mirror_before;
    std::size_t m_uploads_seen = 0;
    std::string m_system;  // what the last upload of it told about the machine
    std::string m_agent_id;
    Calm m_calm;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_FAULTS_FAULTS_H
