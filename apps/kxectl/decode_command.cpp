#include "kxectl/decode_command.h"

#include <memory>
#include <vector>

#include "common/decode.h"
#include "common/frame.h"
#include "epinfo.pb.h"

namespace kxectl {

namespace {

using bf_kxepinfo::epinfo;
using bf_kxepinfo::epinfo_msg_respone;
using google::protobuf::Message;
using kxapp::Json;
using kxapp::SetMember;

struct Decoded {
    std::unique_ptr<Message> message;
    std::vector<std::string> not_utf8;
    bool known_fields_only = false;
};

// Without a message when the bytes are none of that type.
template <class Type>
Decoded TryDecode(std::string_view bytes) {
    Decoded decoded;
    auto message = std::make_unique<Type>();
    if (kxapp::Decode(bytes, *message, decoded.not_utf8)) {
        decoded.known_fields_only = !kxapp::HasUnknownFields(*message);
        decoded.message = std::move(message);
    }
    return decoded;
}

bool NamesItsSections(const epinfo& upload) {
    const bool resources = (upload.cmd() & bf_kxepinfo::AGT_MGR_RC) != 0;
    const bool system = (upload.cmd() & bf_kxepinfo::AGT_MGR_SYS) != 0;
    const bool login = (upload.cmd() & bf_kxepinfo::AGT_MGR_LOGIN) != 0;
    return (resources || system || login) && resources == upload.has_rc_info() &&
           system == upload.has_sys_info() && login == upload.has_login_info();
}

Decoded Detect(std::string_view payload) {
    Decoded upload = TryDecode<epinfo>(payload);
    Decoded answer = TryDecode<epinfo_msg_respone>(payload);
    if (upload.message == nullptr || answer.message == nullptr) {
        return upload.message != nullptr ? std::move(upload) : std::move(answer);
    }
    if (upload.known_fields_only != answer.known_fields_only) {
        return upload.known_fields_only ? std::move(upload) : std::move(answer);
    }
    const bool is_upload =
        payload.empty() || NamesItsSections(static_cast<const epinfo&>(*upload.message));
    return is_upload ? std::move(upload) : std::move(answer);
}

Decoded DecodeAs(MessageType type, std::string_view payload) {
    switch (type) {
        case MessageType::kUpload:
            return TryDecode<epinfo>(payload);
        case MessageType::kAnswer:
            return TryDecode<epinfo_msg_respone>(payload);
        case MessageType::kDetect:
            break;
    }
    return Detect(payload);
}

}  // namespace

std::optional<std::string> DecodeToJson(std::string_view bytes, MessageType type,
                                        std::string& fault) {
    const bool framed = bytes.starts_with(kxapp::kFrameMagic);
    const auto payload = framed ? kxapp::PayloadOfFrame(bytes, fault) : bytes;
    if (!payload) {
        return std::nullopt;
    }
    const Decoded decoded = DecodeAs(type, *payload);
    if (decoded.message == nullptr) {
        fault = std::to_string(payload->size()) + " bytes that are no such message";
        return std::nullopt;
    }
    Json json(json_object());
    SetMember(json.get(), "kind", kxapp::JsonString(decoded.message->GetDescriptor()->name()));
    if (framed) {
        SetMember(json.get(), "frame", kxapp::FrameToJson(bytes.size()));
    }
    SetMember(json.get(), "message", kxapp::MessageToJson(*decoded.message));
    SetMember(json.get(), "not_utf8", kxapp::JsonStrings(decoded.not_utf8));
    return kxapp::ToText(json.get(), 2);
}

}  // namespace kxectl
