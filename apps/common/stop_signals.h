// SIGTERM and SIGINT as a wish to end.
#ifndef KX_APPS_COMMON_STOP_SIGNALS_H
#define KX_APPS_COMMON_STOP_SIGNALS_H

#include <array>
#include <memory>

#include "common/loop_handle.h"

namespace kxapp {

// While it lives, the two signals end the wait of cl_event_loop_once and set `arrived` instead of
// ending the process. Belongs to the thread that made it.
class StopSignals {
  public:
    // Throws std::runtime_error when the signals cannot be watched.
    StopSignals();
    bool arrived() const { return *m_arrived; }

  private:
    std::unique_ptr<bool> m_arrived = std::make_unique<bool>(false);
    std::array<LoopHandle<uv_signal_t>, 2> m_handles;
};

}  // namespace kxapp

#endif  // KX_APPS_COMMON_STOP_SIGNALS_H
