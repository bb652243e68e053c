#include "silent_manager.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "cl_ev.h"
#include "nox_ipc.h"

namespace {

enum class State { kStarting, kReachable, kFailed };
std::atomic<State> state;
std::atomic<bool> stop;
std::atomic<int> received;

void OnUpload(nox_ipc_st* /*ipc*/, const nox_addr_st* /*from*/, unsigned /*request_id*/,
              unsigned /*type*/, const char* /*data*/, unsigned /*len*/, void* /*user*/) {
    ++received;
}

void* Run(void* /*unused*/) {
    nox_ipc_st* const ipc = nox_ipc_create("mgr_ei", 0);
    static char context;
    const bool reachable = ipc != nullptr && nox_ipc_on_request(ipc, OnUpload, &context) == 0;
    state = reachable ? State::kReachable : State::kFailed;
    while (reachable && !stop) {
        (void)cl_event_loop_once();
    }
    if (ipc != nullptr) {
        nox_ipc_destroy(ipc);
    }
    return nullptr;
}

void Pause() {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

}  // namespace

SilentManager::SilentManager() {
    state = State::kStarting;
    stop = false;
    received = 0;
    EXPECT_EQ(cl_ev_create_isolated_thread(&m_thread, 0, Run, nullptr), 0);
    while (state == State::kStarting) {
        Pause();
    }
    EXPECT_EQ(state, State::kReachable);
}

SilentManager::~SilentManager() {
    stop = true;
    cl_event_loop_wake(m_thread);
    EXPECT_EQ(pthread_join(m_thread, nullptr), 0);
}

int SilentManager::uploads() const {
    return received;
}

void SilentManager::WaitForUpload() const {
    while (received == 0) {
        Pause();
    }
}
