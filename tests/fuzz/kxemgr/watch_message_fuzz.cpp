// The input is a question or an answer of somebody who watches, or one upload of an answer. What is
// taken comes out the same when it is packed and read again, and what is shown of it disturbs no
// terminal and is JSON.
#include <cstdint>
#include <string_view>

#include "common/watch.h"
#include "kxectl/watched_text.h"
#include "shown.h"

namespace {

using kxtest::Require;

void CheckQuestion(std::string_view input) {
    std::string fault;
    const auto question = kxapp::ReadWatchQuestion(input, fault);
    Require(question.has_value() == fault.empty());
    if (question) {
        const auto again = kxapp::ReadWatchQuestion(kxapp::PackWatchQuestion(*question), fault);
        Require(again && again->after == question->after && again->agent == question->agent);
    }
}

void CheckUpload(std::string_view packed) {
    std::string fault;
    const auto line = kxectl::ShowWatched(packed, true, fault);
    Require(line.has_value() == fault.empty());
    if (line) {
        kxtest::RequireJson(*line);
        kxtest::RequireHarmless(kxectl::ShowWatched(packed, false, fault).value());
    }
}

void CheckAnswer(std::string_view input) {
    constexpr std::uint64_t kAfter = 7;
    std::string fault;
    const auto answer = kxapp::ReadWatchAnswer(input, kAfter, fault);
    Require(answer.has_value() == fault.empty());
    if (!answer) {
        return;
    }
    Require(answer->uploads.size() <= kxapp::kMostWatchedAtOnce);
    Require(answer->uploads.empty() || answer->first > kAfter);
    const auto again = kxapp::ReadWatchAnswer(kxapp::PackWatchAnswer(*answer), kAfter, fault);
    Require(again && again->state == answer->state && again->uploads == answer->uploads);
    for (const std::string& upload : answer->uploads) {
        CheckUpload(upload);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    CheckQuestion(input);
    CheckAnswer(input);
    CheckUpload(input);
    return 0;
}
