// One upload of an agent, as it came.
#ifndef KX_APPS_COMMON_UPLOAD_H
#define KX_APPS_COMMON_UPLOAD_H

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/service.h"
#include "epinfo.pb.h"

namespace kxapp {

// Longer uploads are refused. The module takes no longer answer either.
inline constexpr std::size_t kMostUploadBytes = std::size_t{10} * 1024 * 1024;

// Uploads that list more (listed.h) are refused: two bytes can be an entry, and showing one takes
// hundreds of bytes. A machine with ten thousand adapters lists some forty thousand.
inline constexpr std::size_t kMostListed = 100'000;

struct Upload {
    timespec received{};  // wall clock
    std::string from;     // the agent's name on the bus
    unsigned request_id = 0;
    std::size_t frame_bytes = 0;
    std::string_view payload;  // the message's bytes, in the request
    bf_kxepinfo::epinfo message;
    std::vector<std::string> not_utf8;  // paths of the strings that had to be repaired
};

// Checks the frame strictly and decodes the message. Nothing when there is a fault, which `fault`
// then tells in words; `request` was received at `now`, and lives as long as the upload.
std::optional<Upload> ReadUpload(const Request& request, const timespec& now, std::string& fault);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_UPLOAD_H
