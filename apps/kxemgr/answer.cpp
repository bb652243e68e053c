#include "kxemgr/answer.h"

#include "common/frame.h"
#include "common/misbehave.h"

namespace kxemgr {

namespace {

constexpr std::uint16_t kOtherPayloadType = 2;
constexpr std::uint32_t kBytesMissing = 100;

constexpr kxapp::FaultKind kFaultKinds[] = {
    {"refuse", "answers with status 0 and a reason"},
    {"duplicate", "accepts, and says that the agent's identity was seen on another machine"},
    kxapp::kSilent,
    kxapp::kSlow,
    kxapp::kGarbage,
    {"short", "answers with 19 bytes, one less than a frame header"},
    {"type2", "answers in a frame of payload type 2"},
    {"long", "answers in a frame that announces 100 bytes more than it has"},
    kxapp::kClose,
};

std::string SpoiltFrame(std::string_view fault, std::string_view payload) {
    const auto length = static_cast<std::uint32_t>(payload.size());
    if (fault == kxapp::kGarbage.name) {
        return kxapp::Garbage();
    }
    if (fault == "short") {
        return kxapp::MakeFrame(payload).substr(0, kxapp::kFrameHeaderSize - 1);
    }
    if (fault == "type2") {
        return kxapp::MakeFrame(payload, kOtherPayloadType, length);
    }
    if (fault == "long") {
        return kxapp::MakeFrame(payload, kxapp::kPayloadProtobuf, length + kBytesMissing);
    }
    return kxapp::MakeFrame(payload);
}

}  // namespace

std::span<const kxapp::FaultKind> FaultKinds() {
    return kFaultKinds;
}

bf_kxepinfo::epinfo_msg_respone Accept(const bf_kxepinfo::epinfo& upload, std::int64_t now) {
    bf_kxepinfo::epinfo_msg_respone answer;
    answer.set_status(1);
    answer.set_cmd_type(upload.cmd());
    // Unsigned arithmetic wraps where an absurd agent clock would overflow a signed number.
    answer.set_time_diff(
        static_cast<std::int64_t>(static_cast<std::uint64_t>(now) - upload.agent_timestamp()));
    return answer;
}

bf_kxepinfo::epinfo_msg_respone Refuse(std::string_view why) {
    bf_kxepinfo::epinfo_msg_respone answer;
    answer.set_res_msg(std::string(why));
    return answer;
}

void ApplyToMessage(std::string_view fault, bf_kxepinfo::epinfo_msg_respone& answer) {
    if (fault == "refuse") {
        answer.set_status(0);
        answer.set_res_msg("refused because of --fault refuse");
    } else if (fault == "duplicate") {
        answer.set_duplicate(1);
    }
}

kxapp::Reply Deliver(std::string_view fault, const bf_kxepinfo::epinfo_msg_respone& answer) {
    return {kxapp::DeliveryUnder(fault), 0, SpoiltFrame(fault, answer.SerializeAsString())};
}

}  // namespace kxemgr
