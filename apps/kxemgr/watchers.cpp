#include "kxemgr/watchers.h"

#include <algorithm>
#include <cerrno>
#include <exception>
#include <memory>
#include <utility>

#include "common/complain.h"
#include "common/installation.h"
#include "common/listener.h"
#include "common/watch.h"

namespace kxemgr {

namespace {

constexpr std::uint64_t kTimerMs = 1000;
constexpr std::uint64_t kHoldMs = std::uint64_t{kxapp::kWatchHoldS} * 1000;

kxapp::WatchAnswer Refusal(std::string why) {
    return {kxapp::WatchState::kRefused, std::move(why), 0, {}};
}

kxapp::Reply AtOnce(const kxapp::WatchAnswer& answer) {
    return {kxapp::Delivery::kNow, kxapp::kWatchType, kxapp::PackWatchAnswer(answer)};
}

kxapp::Reply Later() {
    return {kxapp::Delivery::kNever, 0, {}};
}

}  // namespace

Watchers::Watchers(Presence is_there, Clock clock)
    : m_is_there(std::move(is_there)),
      m_clock(std::move(clock)),
      m_timer(kxapp::MakeLoopHandle<uv_timer_t>(uv_timer_init)) {}

bool Watchers::IsOnBus(const std::string& name) {
    const int failure = kxapp::FindListener(kxapp::InstallationRoot(), name).failure;
    return failure != ENOENT && failure != ECONNREFUSED;
}

std::uint64_t Watchers::Monotonic() {
    constexpr std::uint64_t kNanoseconds = 1'000'000;
    return uv_hrtime() / kNanoseconds;
}

kxapp::Reply Watchers::ask(const kxapp::Request& request) {
    std::string fault;
    auto question = kxapp::ReadWatchQuestion(request.data, fault);
    if (!question) {
        return AtOnce(Refusal("the question has " + fault));
    }
    if (!question->after) {
        begin(request, std::move(question->agent));
        return Later();
    }
    const auto known = std::find_if(m_watchers.begin(), m_watchers.end(), [&](const Watcher& one) {
        return one.name == request.from && !one.begins;
    });
    if (known == m_watchers.end()) {
        return AtOnce({kxapp::WatchState::kUnknown, {}, 0, {}});
    }
    known->queue.confirm(*question->after);
    known->asks = true;
    known->question = request.id;
    known->asked_at = m_clock();
    return Later();
}

void Watchers::begin(const kxapp::Request& request, std::string agent) {
    std::erase_if(m_watchers, [&](const Watcher& one) { return one.name == request.from; });
    Watcher watcher;
    watcher.name = request.from;
    watcher.agent = std::move(agent);
    watcher.question = request.id;
    watcher.asked_at = m_clock();
    m_watchers.push_back(std::move(watcher));
}

void Watchers::tell(const kxapp::Upload& upload, std::string_view fault,
                    const bf_kxepinfo::epinfo_msg_respone& answer) noexcept {
    try {
        std::shared_ptr<const std::string> packed;
        for (Watcher& watcher : m_watchers) {
            if (watcher.begins || (!watcher.agent.empty() && watcher.agent != upload.from)) {
                continue;
            }
            if (packed == nullptr) {
                packed =
                    std::make_shared<const std::string>(kxapp::PackWatched(upload, fault, answer));
            }
            watcher.queue.push(packed);
        }
    } catch (const std::exception& error) {
        kxapp::Complain("who watches misses an upload: %s", error.what());
    }
}

void Watchers::flush(const Answer& answer) {
    for_each_that_stays([&](Watcher& watcher) {
        if (!watcher.begins) {
            serve(watcher, answer);
        }
    });
    if (m_watchers.size() > kMost) {
        for_each_that_stays(
            [&](Watcher& watcher) { watcher.gone = !watcher.begins && !m_is_there(watcher.name); });
    }
    std::size_t have = 0;
    for_each_that_stays([&](Watcher& watcher) {
        if (watcher.begins) {
            let_in(watcher, have < kMost, answer);
        }
        have += watcher.gone ? 0 : 1;
    });
    set_timer();
}

void Watchers::AnswerWith(const kxapp::WatchAnswer& what, Watcher& watcher, const Answer& answer) {
    watcher.asks = false;
    watcher.gone = answer(watcher.name, watcher.question, kxapp::PackWatchAnswer(what)) != 0;
}

// Answers a watcher that waits, if there is something to tell or it has waited for long.
void Watchers::serve(Watcher& watcher, const Answer& answer) {
    const std::uint64_t waited = m_clock() - watcher.asked_at;
    if (!watcher.asks) {
        watcher.gone = waited >= kForgottenAfterMs;
    } else if (!watcher.queue.empty() || waited >= kHoldMs) {
        AnswerWith(watcher.queue.next(), watcher, answer);
    }
}

void Watchers::let_in(Watcher& watcher, bool has_room, const Answer& answer) {
    watcher.begins = false;
    if (has_room) {
        AnswerWith({}, watcher, answer);
    } else {
        AnswerWith(Refusal(std::to_string(kMost) + " watch already"), watcher, answer);
        watcher.gone = true;
    }
}

// Forgets afterwards who is gone, or for whom there was no memory.
void Watchers::for_each_that_stays(const std::function<void(Watcher& watcher)>& step) {
    for (Watcher& watcher : m_watchers) {
        try {
            step(watcher);
        } catch (const std::exception&) {
            watcher.gone = true;
        }
    }
    std::erase_if(m_watchers, [](const Watcher& one) { return one.gone; });
}

void Watchers::set_timer() {
    const bool ticks = uv_is_active(reinterpret_cast<const uv_handle_t*>(m_timer.get())) != 0;
    if (m_watchers.empty()) {
        (void)uv_timer_stop(m_timer.get());
    } else if (!ticks) {
        // The pass is all that is wanted of it.
        (void)uv_timer_start(
            m_timer.get(), [](uv_timer_t*) {}, kTimerMs, kTimerMs);
    }
}

}  // namespace kxemgr
