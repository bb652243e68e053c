// Signals are the host's: its handlers never run on the worker's thread.
#ifndef KXEPINFO_MODULE_SIGNALS_H
#define KXEPINFO_MODULE_SIGNALS_H

#include <csignal>

// While it exists, all signals are blocked for the thread that made it, but those that tell of a
// fault of the running instruction: blocked, the kernel would end the process without asking the
// host's crash reporter. Then what was blocked before is again.
// Not every event-loop library makes its threads so, and a handler on the worker's thread would cut
// sleeps short: a load sampled over too short a time.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t blocked;
        (void)sigfillset(&blocked);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS}) {
            (void)sigdelset(&blocked, fault);
        }
        (void)pthread_sigmask(SIG_BLOCK, &blocked, &m_before);
    }
    ~SignalsBlocked() { (void)pthread_sigmask(SIG_SETMASK, &m_before, nullptr); }
    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t m_before;
};

#endif  // KXEPINFO_MODULE_SIGNALS_H
