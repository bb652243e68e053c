// Where the agent's id is kept.
#ifndef NOXIPC_HOST_ID_H
#define NOXIPC_HOST_ID_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace noxipc {

// The id in the text of an id file: a decimal number from 1 to 4294967295 with blanks around it.
std::optional<uint32_t> ParseHostId(std::string_view text);

// The id kept in `directory`, drawn and written when there is none or a new one is asked for. 0
// when there is none and none can be written; the reason is logged. Several processes may call it
// at a time. Throws std::bad_alloc.
uint32_t ReadOrDrawHostId(const std::string& directory);

}  // namespace noxipc

#endif  // NOXIPC_HOST_ID_H
