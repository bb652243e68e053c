#include "common/json_line.h"

#include <array>
#include <cstdio>

#include "common/decode.h"
#include "common/json.h"

namespace kxapp {

namespace {

std::string UtcTime(const timespec& time) {
    tm parts{};
    gmtime_r(&time.tv_sec, &parts);
    std::array<char, 32> seconds{};
    (void)std::strftime(seconds.data(), seconds.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 32> fraction{};
    (void)std::snprintf(fraction.data(), fraction.size(), ".%03ldZ", time.tv_nsec / 1'000'000);
    return std::string(seconds.data()) + fraction.data();
}

}  // namespace

std::string JsonLine(const Upload& upload, std::string_view fault,
                     const bf_kxepinfo::epinfo_msg_respone& answer) {
    Json line(json_object());
    SetMember(line.get(), "received", JsonString(UtcTime(upload.received)));
    SetMember(line.get(), "from", JsonString(upload.from));
    SetMember(line.get(), "request_id", Json(json_integer(upload.request_id)));
    SetMember(line.get(), "frame", FrameToJson(upload.frame_bytes));
    SetMember(line.get(), "epinfo", MessageToJson(upload.message));
    SetMember(line.get(), "not_utf8", JsonStrings(upload.not_utf8));
    SetMember(line.get(), "fault", fault.empty() ? Json(json_null()) : JsonString(fault));
    SetMember(line.get(), "answer", MessageToJson(answer));
    return ToText(line.get());
}

}  // namespace kxapp
