// Looks on while the plain agent's libraries are used: what is called, on which thread, which rule
// is broken; and lets a single call fail. A set of libraries that is to work needs none of this: it
// shows whether the module keeps to what docs/agent-libraries.md says of it.
//
// Every function may be called from any thread.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_WATCH_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_WATCH_H

#include <string>
#include <vector>

#pragma GCC visibility push(default)
namespace plain {

// The calling thread is the module's worker while the object exists.
class WorkerMark {
  public:
    WorkerMark();
    ~WorkerMark();
    WorkerMark(const WorkerMark&) = delete;
    WorkerMark& operator=(const WorkerMark&) = delete;
};

// One call of a function of the interface; the first thing in each of them. When it ends, errno is
// worthless, unless the function failed and says so there.
class Call {
  public:
    enum class Thread { kWorker, kAny };
    static constexpr int kWorthless = 7777;

    explicit Call(const char* function, Thread thread = Thread::kWorker);
    ~Call();
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // True when the test wants this call to fail; `error` is then in errno for the caller.
    bool MustFail(int error = kWorthless);
    // The call has failed by itself.
    void Failed(int error) { m_errno = error; }

  private:
    const bool m_must_fail;
    int m_errno = kWorthless;
};

// A rule was broken. The test fails when it ends.
void Breach(const std::string& what);
std::vector<std::string> Breaches();

// Names of the functions called since the last reset, in order. Those of the log are left out.
std::vector<std::string> Calls();

// From the reset on, the call of that number (the first being 1) of `function` fails.
void LetFail(const std::string& function, int number);
// Whether it has.
bool HasFailed();

void ResetWatch();

}  // namespace plain
#pragma GCC visibility pop

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_WATCH_H
