#include "kxectl/watch.h"

#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <utility>

#include "cl_ev.h"
#include "common/complain.h"
#include "kxectl/watched_text.h"

namespace kxectl {

namespace {

constexpr char kManagerName[] = "mgr_ei";
constexpr char kAgentName[] = "agt_ei";
constexpr std::uint64_t kAskAgainMs = 500;
// A manager with much to do may be late.
constexpr int kLongestHoldS = 2 * kxapp::kWatchHoldS;

}  // namespace

Watch::Watch(const WatchOptions& options)
    : m_options(options),
      m_address(kxapp::AddressOf(kManagerName)),
      m_timer(kxapp::MakeLoopHandle<uv_timer_t>(uv_timer_init)) {
    m_timer->data = this;
}

WatchEnd Watch::run() {
    m_bus = kxapp::JoinBus("kxectl-" + std::to_string(getpid()));
    if (m_bus == nullptr) {
        return WatchEnd::kTrouble;
    }
    while (!m_end && !m_stop.arrived()) {
        if (m_outcome.arrived) {
            take(std::exchange(m_outcome, {}));
        } else if (std::exchange(m_must_ask, false)) {
            ask();
        } else {
            (void)cl_event_loop_once();
        }
    }
    m_bus.reset();
    return m_end.value_or(WatchEnd::kDone);
}

void Watch::ask() {
    const std::string question =
        kxapp::PackWatchQuestion({m_after, m_options.all ? std::string() : kAgentName});
    const int hold_s = m_after ? kLongestHoldS : 0;
    const int failure =
        nox_ipc_make_request(m_bus.get(), m_address.get(), kxapp::kWatchType, question.data(),
                             static_cast<unsigned>(question.size()), KeepOutcome, &m_outcome,
                             hold_s + m_options.timeout_s);
    if (failure != 0) {
        m_outcome = {true, failure, 0, {}};
    }
}

void Watch::ask_in_a_while() {
    const auto on_due = [](uv_timer_t* timer) {
        static_cast<Watch*>(timer->data)->m_must_ask = true;
    };
    uv_update_time(m_timer->loop);
    (void)uv_timer_start(m_timer.get(), on_due, kAskAgainMs, 0);
}

void Watch::take(const Outcome& outcome) {
    if (outcome.status != 0) {
        take_failure(outcome.status);
        return;
    }
    std::string fault = "another type than the question";
    const auto answer = outcome.type == kxapp::kWatchType
                            ? kxapp::ReadWatchAnswer(outcome.data, m_after.value_or(0), fault)
                            : std::nullopt;
    if (!answer) {
        end_unreadable(fault);
        return;
    }
    take_answer(*answer);
}

void Watch::end_unreadable(const std::string& fault) {
    kxapp::Complain("the manager gave an unreadable answer: %s", fault.c_str());
    m_end = WatchEnd::kNoManager;
}

void Watch::take_failure(int status) {
    const char* const why = nox_ipc_strerror(status);
    if (status != ECONNREFUSED && status != ECONNRESET && status != ETIMEDOUT) {
        kxapp::Complain("the manager cannot be asked: %s", why);
        m_end = WatchEnd::kTrouble;
    } else if (m_was_there) {
        lose_manager(why);
    } else if (status == ECONNREFUSED) {
        kxapp::Complain("no manager is there: %s", why);
        m_end = WatchEnd::kNoManager;
    } else {
        kxapp::Complain("the manager does not know how to be watched: %s", why);
        m_end = WatchEnd::kNoManager;
    }
}

void Watch::lose_manager(const char* why) {
    if (!m_away) {
        kxapp::Complain("the manager has gone: %s; waiting for it", why);
    }
    m_away = true;
    ask_in_a_while();
}

void Watch::take_answer(const kxapp::WatchAnswer& answer) {
    switch (answer.state) {
        case kxapp::WatchState::kRefused:
            kxapp::Complain("the manager refuses: %s", answer.why.c_str());
            m_end = WatchEnd::kNoManager;
            return;
        case kxapp::WatchState::kUnknown:
            if (!m_after) {
                end_unreadable("it knows no begin");
                return;
            }
            if (!m_away) {
                kxapp::Complain("uploads missing here: the manager had forgotten this watch");
            }
            m_after.reset();
            break;
        case kxapp::WatchState::kWatching:
            if (std::exchange(m_away, false)) {
                kxapp::Complain("the manager is back");
            }
            m_was_there = true;
            show(answer);
            break;
    }
    m_must_ask = true;
}

void Watch::show(const kxapp::WatchAnswer& answer) {
    const std::uint64_t expected = m_after.value_or(0) + 1;
    if (!answer.uploads.empty() && answer.first > expected) {
        kxapp::Complain("uploads missing here: %" PRIu64 ", which came faster than they were read",
                        answer.first - expected);
    }
    m_after = m_after.value_or(0);
    for (std::size_t i = 0; i < answer.uploads.size() && !m_end; ++i) {
        std::string fault;
        const auto text = ShowWatched(answer.uploads[i], m_options.json, fault);
        if (!text) {
            end_unreadable(fault);
        } else if (!kxapp::WriteOut(*text)) {
            m_end = WatchEnd::kTrouble;
        } else if (++m_shown == m_options.count) {
            m_end = WatchEnd::kDone;
        }
        m_after = answer.first + i;
    }
}

}  // namespace kxectl
