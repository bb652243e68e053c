// The other ends of conversations over the bus, on the test's own thread.
#ifndef KXEPINFO_TESTS_UNIT_APPS_BUS_ENDS_H
#define KXEPINFO_TESTS_UNIT_APPS_BUS_ENDS_H

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "cl_ev.h"
#include "common/loop_handle.h"
#include "common/service.h"

namespace kxtest {

// Runs the loop until the fact is true; `after_pass` is called in between. False when that takes so
// long that it will never be.
inline bool RunUntil(
    const std::function<bool()>& fact, const std::function<void()>& after_pass = [] {}) {
    constexpr int kHangGuardMs = 60'000;
    bool hung = false;
    const auto guard = kxapp::MakeLoopHandle<uv_timer_t>(uv_timer_init);
    guard->data = &hung;
    uv_timer_start(
        guard.get(), [](uv_timer_t* timer) { *static_cast<bool*>(timer->data) = true; },
        kHangGuardMs, 0);
    while (!fact() && !hung) {
        cl_event_loop_once();
        after_pass();
    }
    return fact();
}

// The outcome of one request.
struct Asked {
    int calls = 0;
    int status = 0;
    unsigned type = 0;
    std::string data;
};

// A peer that asks.
class Asker {
  public:
    explicit Asker(const std::string& name = "asker") : m_bus(kxapp::JoinBus(name)) {}

    // `outcome` must live until it has been called or the asker is gone.
    void ask(const std::string& peer, unsigned type, const std::string& data, Asked& outcome,
             int timeout_s = 60) {
        EXPECT_EQ(
            nox_ipc_make_request(m_bus.get(), kxapp::AddressOf(peer).get(), type, data.data(),
                                 static_cast<unsigned>(data.size()), Keep, &outcome, timeout_s),
            0);
    }

    void tell(const std::string& peer, unsigned type, const std::string& data) {
        EXPECT_EQ(nox_ipc_send_msg(m_bus.get(), kxapp::AddressOf(peer).get(), type, data.data(),
                                   static_cast<unsigned>(data.size())),
                  0);
    }

  private:
    static void Keep(int status, unsigned type, const char* data, unsigned len, void* user) {
        Asked& outcome = *static_cast<Asked*>(user);
        ++outcome.calls;
        outcome.status = status;
        outcome.type = type;
        outcome.data = status == 0 ? std::string(data, len) : "";
    }

    kxapp::Bus m_bus;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_APPS_BUS_ENDS_H
