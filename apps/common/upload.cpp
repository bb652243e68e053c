#include "common/upload.h"

#include "common/decode.h"
#include "common/frame.h"
#include "common/listed.h"

namespace kxapp {

std::optional<Upload> ReadUpload(const Request& request, const timespec& now, std::string& fault) {
    if (request.data.size() > kMostUploadBytes) {
        fault = "frame of " + std::to_string(request.data.size()) + " bytes, more than the " +
                std::to_string(kMostUploadBytes) + " that an upload may have";
        return std::nullopt;
    }
    const auto payload = PayloadOfFrame(request.data, fault);
    if (!payload) {
        return std::nullopt;
    }
    if (CountListed(*payload, *bf_kxepinfo::epinfo::descriptor()) > kMostListed) {
        fault = "upload with more than " + std::to_string(kMostListed) + " entries in its lists";
        return std::nullopt;
    }
    Upload upload;
    upload.received = now;
    upload.from = request.from;
    upload.request_id = request.id;
    upload.frame_bytes = request.data.size();
    upload.payload = *payload;
    if (!Decode(*payload, upload.message, upload.not_utf8)) {
        fault = "payload of " + std::to_string(payload->size()) + " bytes is no epinfo message";
        return std::nullopt;
    }
    return upload;
}

}  // namespace kxapp
