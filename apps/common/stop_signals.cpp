#include "common/stop_signals.h"

#include <csignal>
#include <stdexcept>

#include "cl_ev.h"

namespace kxapp {

StopSignals::StopSignals() {
    constexpr int kNumbers[] = {SIGTERM, SIGINT};
    for (std::size_t i = 0; i < m_handles.size(); ++i) {
        m_handles[i] = MakeLoopHandle<uv_signal_t>(uv_signal_init);
        m_handles[i]->data = m_arrived.get();
        const auto note = [](uv_signal_t* handle, int) {
            *static_cast<bool*>(handle->data) = true;
        };
        if (uv_signal_start(m_handles[i].get(), note, kNumbers[i]) != 0) {
            throw std::runtime_error("cannot watch for signals");
        }
    }
}

}  // namespace kxapp
