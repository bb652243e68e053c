// An upload for scripts.
#ifndef KX_APPS_COMMON_JSON_LINE_H
#define KX_APPS_COMMON_JSON_LINE_H

#include <string>
#include <string_view>

#include "common/upload.h"

namespace kxapp {

// One line of JSON:
//   received     when, "2026-11-21T11:52:03.123Z"
//   from         the agent's name on the bus
//   request_id   number
//   frame        length (whole), payload_type, payload_length: numbers
//   epinfo       the message (MessageToJson of common/decode.h)
//   not_utf8     paths of strings in it that were not UTF-8 and are shown with \xNN for each wrong
//                byte and each backslash, so that their bytes can be told; mostly empty
//   fault        the --fault that the answer suffered, or null
//   answer       the answer as it would be without a fault on its way
std::string JsonLine(const Upload& upload, std::string_view fault,
                     const bf_kxepinfo::epinfo_msg_respone& answer);

}  // namespace kxapp

#endif  // KX_APPS_COMMON_JSON_LINE_H
