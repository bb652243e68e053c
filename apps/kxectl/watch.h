// The uploads and answers as the manager sees them, while they happen.
#ifndef KX_APPS_KXECTL_WATCH_H
#define KX_APPS_KXECTL_WATCH_H

#include <cstdint>
#include <optional>
#include <string>

#include "common/loop_handle.h"
#include "common/service.h"
#include "common/stop_signals.h"
#include "common/watch.h"
#include "kxectl/outcome.h"

namespace kxectl {

struct WatchOptions {
    bool all = false;         // every agent of the bus, not only this installation's
    bool json = false;        // as `kxemgr --json`
    std::uint64_t count = 0;  // uploads after which it ends; 0: never
    int timeout_s = 5;        // how long the manager may take to answer
};

enum class WatchEnd {
    kDone,       // the wanted number was shown, or a signal came
    kNoManager,  // nobody is there who could be watched, or may be
    kTrouble,    // standard output or the bus cannot be used
};

// Belongs to the thread that made it.
class Watch {
  public:
    explicit Watch(const WatchOptions& options);

    // Writes each upload to standard output until the end, about which it complains when it is not
    // kDone. A manager that has been there and goes away is waited for; that, and what is missing,
    // is told on standard error.
    WatchEnd run();

  private:
    void ask();
    void ask_in_a_while();
    void take(const Outcome& outcome);
    void end_unreadable(const std::string& fault);
    void take_failure(int status);
    void take_answer(const kxapp::WatchAnswer& answer);
    void show(const kxapp::WatchAnswer& answer);
    void lose_manager(const char* why);

    WatchOptions m_options;
    kxapp::StopSignals m_stop;
    kxapp::Address m_address;
    kxapp::LoopHandle<uv_timer_t> m_timer;
    Outcome m_outcome;
    kxapp::Bus m_bus;  // goes before the outcome that its callback fills
    bool m_must_ask = true;
    std::optional<std::uint64_t> m_after;  // number of the last upload; nothing: asks to begin
    bool m_was_there = false;              // the manager, at any time
    bool m_away = false;                   // it is, after it was there
    std::uint64_t m_shown = 0;
    std::optional<WatchEnd> m_end;
};

}  // namespace kxectl

#endif  // KX_APPS_KXECTL_WATCH_H
