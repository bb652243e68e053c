// The library as it is shipped, loaded and unloaded.
#include <gtest/gtest.h>
#include <pthread.h>

#include <cerrno>

#include "bus.h"
#include "loaded_library.h"

namespace {

// A worker's life: joins, never releases one address, makes a request that is refused, leaves.
void* Work(void* argument) {
    const auto* library = static_cast<kxtest::LoadedLibrary*>(argument);
    auto* create = library->Find<decltype(nox_ipc_create)>("nox_ipc_create");
    auto* destroy = library->Find<decltype(nox_ipc_destroy)>("nox_ipc_destroy");
    auto* address = library->Find<decltype(nox_addr_create)>("nox_addr_create");
    auto* request = library->Find<decltype(nox_ipc_make_request)>("nox_ipc_make_request");
    nox_ipc_st* const instance = create("agt_ei", 0);
    EXPECT_NE(nullptr, instance);
    Outcome outcome;
    EXPECT_EQ(0, request(instance, address("agt_cfgc", 0, 0), 1, "x", 1, Outcome::Callback,
                         &outcome, 60));
    while (!outcome.done() && cl_event_loop_once() != 0) {
    }
    EXPECT_EQ(ECONNREFUSED, outcome.status);
    destroy(instance);
    return nullptr;
}

class UnloadTest : public BusTest {};

TEST_F(UnloadTest, AfterItsWorkerHasEndedWorksAHundredTimes) {
    for (int round = 0; round < 100; ++round) {
        {
            kxtest::LoadedLibrary library(NOXIPC_LIBRARY);
            pthread_t thread = {};
            ASSERT_EQ(0, cl_ev_create_isolated_thread(&thread, 0, Work, &library));
            ASSERT_EQ(0, pthread_join(thread, nullptr));
        }
        ASSERT_FALSE(kxtest::IsMapped(NOXIPC_LIBRARY));
    }
}

}  // namespace
