#include "thread_loop.h"

#include <signal.h>

#include <new>

namespace cl_ev {
namespace {

// The list is linked through its members and has no destructor, so that it can be used until the
// last thread is gone, and nothing is left behind when the library is unloaded.
constinit std::mutex list_mutex;

thread_local constinit Loop* current = nullptr;

// Owns the loop of a thread that was not made by this library. The C library runs the destructor at
// the thread's end and keeps this library mapped until then.
struct Owner {
    std::unique_ptr<ThreadLoop> loop;
    ~Owner();
};

thread_local Owner owner;
thread_local constinit bool owner_is_gone = false;

Owner::~Owner() {
    owner_is_gone = true;
    loop.reset();
}

void BlockBrokenPipeSignal() {
    sigset_t signals;
    (void)sigemptyset(&signals);
    (void)sigaddset(&signals, SIGPIPE);
    (void)pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

Loop* MakeForThisThread() {
    int error = 0;
    auto loop = Loop::Make(&error);
    if (loop == nullptr) {
        return nullptr;
    }
    std::unique_ptr<ThreadLoop> made(new (std::nothrow) ThreadLoop(std::move(loop)));
    if (made == nullptr) {
        return nullptr;
    }
    {
        const std::lock_guard lock(ThreadLoop::ListMutex());
        made->Enter(pthread_self());
    }
    made->MakeCurrent();
    BlockBrokenPipeSignal();
    owner.loop = std::move(made);
    return current;
}

}  // namespace

ThreadLoop* ThreadLoop::first_ = nullptr;

std::mutex& ThreadLoop::ListMutex() {
    return list_mutex;
}

ThreadLoop::~ThreadLoop() {
    if (!entered_) {
        return;
    }
    {
        const std::lock_guard lock(list_mutex);
        (previous_ != nullptr ? previous_->next_ : first_) = next_;
        if (next_ != nullptr) {
            next_->previous_ = previous_;
        }
    }
    loop_.reset();
    current = nullptr;
}

void ThreadLoop::Enter(pthread_t thread) {
    thread_ = thread;
    entered_ = true;
    next_ = first_;
    if (next_ != nullptr) {
        next_->previous_ = this;
    }
    first_ = this;
}

void ThreadLoop::MakeCurrent() {
    current = loop_.get();
}

void ThreadLoop::Wake(pthread_t thread) {
    const std::lock_guard lock(list_mutex);
    for (ThreadLoop* each = first_; each != nullptr; each = each->next_) {
        if (pthread_equal(each->thread_, thread) != 0) {
            each->loop_->Wake();
            return;
        }
    }
}

Loop* CurrentLoop() {
    if (current != nullptr || owner_is_gone) {
        return current;
    }
    return MakeForThisThread();
}

}  // namespace cl_ev
