#include "kxectl/watched_text.h"

#include "common/block.h"
#include "common/decode.h"
#include "common/json_line.h"
#include "common/watch.h"

namespace kxectl {

namespace {

std::string AnswerForPeople(const bf_kxepinfo::epinfo_msg_respone& answer,
                            const std::string& fault) {
    const bool plain = kxapp::AnswerInWords(answer, "").empty();
    return (plain ? "  accepted\n" : "") + kxapp::AnswerInWords(answer, fault);
}

}  // namespace

std::optional<std::string> ShowWatched(std::string_view packed, bool json, std::string& fault) {
    const auto watched = kxapp::ReadWatched(packed, fault);
    if (!watched) {
        return std::nullopt;
    }
    const kxapp::Request request{watched->from, watched->request_id, 0, watched->frame};
    const auto upload = kxapp::ReadUpload(request, watched->received, fault);
    if (!upload) {
        return std::nullopt;
    }
    bf_kxepinfo::epinfo_msg_respone answer;
    std::vector<std::string> not_utf8;
    if (!kxapp::Decode(watched->answer, answer, not_utf8)) {
        fault = "an answer that is no epinfo_msg_respone message";
        return std::nullopt;
    }
    return json ? kxapp::JsonLine(*upload, watched->fault, answer)
                : kxapp::Block(*upload) + AnswerForPeople(answer, watched->fault);
}

}  // namespace kxectl
