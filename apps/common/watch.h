// What the manager and who watches it say to each other. It goes over the bus as key/value messages
// of one type (docs/wire-format.md): each question of the watcher is held open by the manager until
// there is something to tell. So a watcher that asks no more is told no more.
#ifndef KX_APPS_COMMON_WATCH_H
#define KX_APPS_COMMON_WATCH_H

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/upload.h"

namespace kxapp {

inline constexpr unsigned kWatchType = 2001;

// A question that nothing happens for is answered with no uploads after so many seconds.
inline constexpr int kWatchHoldS = 5;

// One answer has at most so many uploads, and no second one beyond so many bytes.
inline constexpr std::size_t kMostWatchedAtOnce = 256;
inline constexpr std::size_t kMostWatchedBytes = std::size_t{1} << 20U;

struct WatchQuestion {
    std::optional<std::uint64_t> after;  // number of the last upload received; nothing: to begin
    std::string agent;  // the bus name whose uploads are asked for; empty: all agents'
};

std::string PackWatchQuestion(const WatchQuestion& question);

// Nothing when the bytes are no question; `fault` then tells in words.
std::optional<WatchQuestion> ReadWatchQuestion(std::string_view data, std::string& fault);

enum class WatchState {
    kWatching,  // uploads follow, if there are any
    kUnknown,   // the manager knows nothing of this watcher; it must begin
    kRefused,   // it may not begin; see why
};

struct WatchAnswer {
    WatchState state = WatchState::kWatching;
    std::string why;
    // The uploads of one watcher are numbered from 1; `first` is the number of the first in
    // `uploads`. What lies between it and the number asked for was dropped.
    std::uint64_t first = 1;
    std::vector<std::string> uploads;  // each packed by PackWatched
};

// Throws std::runtime_error when the uploads are more than a message holds.
std::string PackWatchAnswer(const WatchAnswer& answer);

// Checks all but the uploads themselves, as an answer to a question with `after`. Nothing when
// there is a fault, which `fault` then tells in words.
std::optional<WatchAnswer> ReadWatchAnswer(std::string_view data, std::uint64_t after,
                                           std::string& fault);

// An upload as the manager received and answered it.
struct Watched {
    timespec received{};  // wall clock, to the millisecond
    std::string from;     // the agent's name on the bus
    unsigned request_id = 0;
    std::string frame;   // as it came, header included
    std::string fault;   // the one that the answer suffered; empty: none
    std::string answer;  // epinfo_msg_respone as it would be without a fault on its way
};

std::string PackWatched(const Upload& upload, std::string_view fault,
                        const bf_kxepinfo::epinfo_msg_respone& answer);

// Checks all but what is in frame and answer. Nothing when there is a fault, which `fault` then
// tells in words.
std::optional<Watched> ReadWatched(std::string_view data, std::string& fault);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_WATCH_H
