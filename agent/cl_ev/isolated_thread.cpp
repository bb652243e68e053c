// Threads that own their event loop and run no signal handler of the host.
#include <signal.h>

#include <cerrno>
#include <memory>
#include <new>

#include "cl_ev.h"
#include "thread_loop.h"

namespace cl_ev {
namespace {

// What a thread needs to start, and its loop until it ends.
struct Start {
    ThreadLoop loop;
    void* (*entry)(void*);
    void* arg;
};

// Blocks signals for the calling thread, and so for a thread that it creates, while it exists.
class SignalsBlocked {
  public:
    SignalsBlocked() {
        sigset_t blocked;
        (void)sigfillset(&blocked);
        // They tell of a fault of the running instruction. Blocked, the kernel would end the
        // process without the host's crash reporter having been asked.
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS}) {
            (void)sigdelset(&blocked, fault);
        }
        (void)pthread_sigmask(SIG_BLOCK, &blocked, &before_);
    }
    ~SignalsBlocked() { (void)pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

    SignalsBlocked(const SignalsBlocked&) = delete;
    SignalsBlocked& operator=(const SignalsBlocked&) = delete;

  private:
    sigset_t before_;
};

// The loop is closed when this returns, and also when the entry leaves through pthread_exit, which
// destroys what is on the stack.
void* Run(void* argument) {
    const std::unique_ptr<Start> start(static_cast<Start*>(argument));
    {
        // The creator holds it until the thread can be found by its handle.
        const std::lock_guard wait_for_creator(ThreadLoop::ListMutex());
    }
    start->loop.MakeCurrent();
    (void)pthread_setname_np(pthread_self(), "cl_ev");
    return start->entry(start->arg);
}

int Create(pthread_t* thread, std::unique_ptr<Start> start) {
    const SignalsBlocked inherited;
    const std::lock_guard until_entered(ThreadLoop::ListMutex());
    pthread_t created = {};
    const int result = pthread_create(&created, nullptr, Run, start.get());
    if (result == 0) {
        start.release()->loop.Enter(created);
        *thread = created;
    }
    return result;
}

}  // namespace
}  // namespace cl_ev

int cl_ev_create_isolated_thread(pthread_t* thread, int flags, void* (*entry)(void*), void* arg) {
    if (thread == nullptr || entry == nullptr || flags != 0) {
        return EINVAL;
    }
    int error = 0;
    auto loop = cl_ev::Loop::Make(&error);
    if (loop == nullptr) {
        return error;
    }
    std::unique_ptr<cl_ev::Start> start(
        new (std::nothrow) cl_ev::Start{cl_ev::ThreadLoop(std::move(loop)), entry, arg});
    return start == nullptr ? ENOMEM : cl_ev::Create(thread, std::move(start));
}
