#include "common/watch.h"

#include <limits>
#include <utility>

#include "common/frame.h"
#include "common/keyvalue.h"
#include "common/number.h"

namespace kxapp {

namespace {

constexpr char kManager[] = "mgr_ei";

// In the order of WatchState.
constexpr std::string_view kStates[] = {"watching", "unknown", "refused"};

constexpr std::uint64_t kYear10000Ms = 253'402'300'800'000;
constexpr std::uint64_t kHighestNumber = std::numeric_limits<std::int64_t>::max();

// The key's value as a number up to `highest`. Nothing, and what is wrong in `fault`, when it is
// none.
std::optional<std::uint64_t> NumberOf(const UnpackedMessage& message, std::string_view key,
                                      std::uint64_t highest, std::string& fault) {
    const auto text = message.find(key);
    const auto number = text ? ReadNumber(*text) : std::nullopt;
    if (!number || *number > highest) {
        fault = (text ? "an impossible " : "no ") + std::string(key);
        return std::nullopt;
    }
    return number;
}

std::optional<WatchState> StateNamed(std::string_view name) {
    for (std::size_t i = 0; i < std::size(kStates); ++i) {
        if (kStates[i] == name) {
            return static_cast<WatchState>(i);
        }
    }
    return std::nullopt;
}

bool ReadUploads(const UnpackedMessage& message, std::uint64_t after, WatchAnswer& answer,
                 std::string& fault) {
    const auto first = NumberOf(message, "first", kHighestNumber, fault);
    const auto count = first ? NumberOf(message, "count", kMostWatchedAtOnce, fault) : std::nullopt;
    if (!count) {
        return false;
    }
    if (*first <= after && *count > 0) {
        fault = "uploads from number " + std::to_string(*first) + " on, where " +
                std::to_string(after) + " was received already";
        return false;
    }
    answer.first = *first;
    for (std::uint64_t i = 0; i < *count; ++i) {
        const auto upload = message.find(std::to_string(i));
        if (!upload) {
            fault = "no upload " + std::to_string(i);
            return false;
        }
        answer.uploads.emplace_back(*upload);
    }
    return true;
}

std::uint64_t MillisecondsOf(const timespec& time) {
    return static_cast<std::uint64_t>(time.tv_sec) * 1000 +
           static_cast<std::uint64_t>(time.tv_nsec) / 1'000'000;
}

timespec TimeOf(std::uint64_t milliseconds) {
    return {static_cast<std::time_t>(milliseconds / 1000),
            static_cast<long>(milliseconds % 1000 * 1'000'000)};
}

}  // namespace

std::string PackWatchQuestion(const WatchQuestion& question) {
    Entries entries;
    if (question.after) {
        entries.emplace_back("after", std::to_string(*question.after));
    }
    if (!question.agent.empty()) {
        entries.emplace_back("agent", question.agent);
    }
    return PackMessage("watch", entries);
}

std::optional<WatchQuestion> ReadWatchQuestion(std::string_view data, std::string& fault) {
    constexpr std::size_t kLongestName = 64;  // on the bus
    const UnpackedMessage message(data);
    if (!message.is_message()) {
        fault = "no message";
        return std::nullopt;
    }
    WatchQuestion question;
    if (message.find("after")) {
        question.after = NumberOf(message, "after", kHighestNumber, fault);
        if (!question.after) {
            return std::nullopt;
        }
    }
    question.agent = message.find("agent").value_or("");
    if (question.agent.size() > kLongestName) {
        fault = "an impossible agent";
        return std::nullopt;
    }
    return question;
}

std::string PackWatchAnswer(const WatchAnswer& answer) {
    Entries entries{{"state", std::string(kStates[static_cast<std::size_t>(answer.state)])}};
    if (answer.state == WatchState::kRefused) {
        entries.emplace_back("why", answer.why);
    }
    if (answer.state == WatchState::kWatching) {
        entries.emplace_back("first", std::to_string(answer.first));
        entries.emplace_back("count", std::to_string(answer.uploads.size()));
        for (std::size_t i = 0; i < answer.uploads.size(); ++i) {
            entries.emplace_back(std::to_string(i), answer.uploads[i]);
        }
    }
    return PackMessage(kManager, entries);
}

std::optional<WatchAnswer> ReadWatchAnswer(std::string_view data, std::uint64_t after,
                                           std::string& fault) {
    const UnpackedMessage message(data);
    const auto state = StateNamed(message.find("state").value_or(""));
    if (!state) {
        fault = message.is_message() ? "an unknown state" : "no message";
        return std::nullopt;
    }
    WatchAnswer answer;
    answer.state = *state;
    answer.why = message.find("why").value_or("");
    if (*state == WatchState::kWatching && !ReadUploads(message, after, answer, fault)) {
        return std::nullopt;
    }
    return answer;
}

std::string PackWatched(const Upload& upload, std::string_view fault,
                        const bf_kxepinfo::epinfo_msg_respone& answer) {
    Entries entries{{"received", std::to_string(MillisecondsOf(upload.received))},
                    {"from", upload.from},
                    {"request_id", std::to_string(upload.request_id)},
                    {"frame", MakeFrame(upload.payload)},
                    {"answer", answer.SerializeAsString()}};
    if (!fault.empty()) {
        entries.emplace_back("fault", fault);
    }
    return PackMessage(kManager, entries);
}

std::optional<Watched> ReadWatched(std::string_view data, std::string& fault) {
    const UnpackedMessage message(data);
    const auto received = NumberOf(message, "received", kYear10000Ms - 1, fault);
    const auto request_id =
        received ? NumberOf(message, "request_id", std::numeric_limits<unsigned>::max(), fault)
                 : std::nullopt;
    if (!request_id) {
        return std::nullopt;
    }
    const auto frame = message.find("frame");
    const auto answer = message.find("answer");
    if (!frame || !answer) {
        fault = frame ? "no answer" : "no frame";
        return std::nullopt;
    }
    Watched watched;
    watched.received = TimeOf(*received);
    watched.from = message.find("from").value_or("");
    watched.request_id = static_cast<unsigned>(*request_id);
    watched.frame = *frame;
    watched.fault = message.find("fault").value_or("");
    watched.answer = *answer;
    return watched;
}

}  // namespace kxapp
