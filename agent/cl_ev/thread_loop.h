// Which loop belongs to which thread.
#ifndef CL_EV_THREAD_LOOP_H
#define CL_EV_THREAD_LOOP_H

#include <pthread.h>

#include <memory>
#include <mutex>

#include "loop.h"

namespace cl_ev {

// A loop and, once entered in the list of loops, its thread. Destroyed on that thread: it leaves
// the list first, so that nobody wakes a loop that is being closed.
class ThreadLoop {
  public:
    explicit ThreadLoop(std::unique_ptr<Loop> loop) : loop_(std::move(loop)) {}
    ~ThreadLoop();

    ThreadLoop(const ThreadLoop&) = delete;
    ThreadLoop& operator=(const ThreadLoop&) = delete;

    // Guards the list.
    static std::mutex& ListMutex();

    // Enters the list. The caller holds ListMutex.
    void Enter(pthread_t thread);

    // Makes this the calling thread's loop. It stays so until it is destroyed.
    void MakeCurrent();

    // Wakes the loop of `thread`, if there is one.
    static void Wake(pthread_t thread);

  private:
    static ThreadLoop* first_;

    std::unique_ptr<Loop> loop_;
    pthread_t thread_ = {};
    bool entered_ = false;
    ThreadLoop* previous_ = nullptr;
    ThreadLoop* next_ = nullptr;
};

// The calling thread's loop. One is made when there is none, and closed when the thread ends. Null
// when it cannot be made.
Loop* CurrentLoop();

}  // namespace cl_ev

#endif  // CL_EV_THREAD_LOOP_H
