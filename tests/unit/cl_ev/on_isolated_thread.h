// Runs a piece of a test on an isolated thread.
#ifndef TESTS_UNIT_CL_EV_ON_ISOLATED_THREAD_H
#define TESTS_UNIT_CL_EV_ON_ISOLATED_THREAD_H

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>

#include "cl_ev.h"

inline void* CallFunction(void* function) {
    (*static_cast<std::function<void()>*>(function))();
    return nullptr;
}

// Returns when the thread has ended, its loop closed.
inline void OnIsolatedThread(std::function<void()> function) {
    pthread_t thread = {};
    ASSERT_EQ(0, cl_ev_create_isolated_thread(&thread, 0, CallFunction, &function));
    ASSERT_EQ(0, pthread_join(thread, nullptr));
}

#endif  // TESTS_UNIT_CL_EV_ON_ISOLATED_THREAD_H
