// Answers of the manager as they come over the bus.
#ifndef KXEPINFO_TESTS_UNIT_IPC_ANSWER_FRAMES_H
#define KXEPINFO_TESTS_UNIT_IPC_ANSWER_FRAMES_H

#include <cstdint>
#include <string>

#include "epinfo.pb.h"

namespace kxtest {

// A frame whose header says what it is told, whatever stands behind it.
inline std::string Frame(const std::string& payload, uint32_t length, uint16_t type = 1) {
    std::string frame = "3200";
    frame.append(4, '\0');
    frame += {static_cast<char>(type >> 8), static_cast<char>(type)};
    frame.append(6, '\0');
    frame += {static_cast<char>(length >> 24), static_cast<char>(length >> 16),
              static_cast<char>(length >> 8), static_cast<char>(length)};
    return frame + payload;
}

inline std::string Frame(const std::string& payload) {
    return Frame(payload, static_cast<uint32_t>(payload.size()));
}

inline std::string Frame(const bf_kxepinfo::epinfo_msg_respone& message) {
    return Frame(message.SerializeAsString());
}

inline bf_kxepinfo::epinfo_msg_respone Accepted() {
    bf_kxepinfo::epinfo_msg_respone message;
    message.set_status(1);
    message.set_cmd_type(6);
    return message;
}

inline bf_kxepinfo::epinfo_msg_respone Refused() {
    bf_kxepinfo::epinfo_msg_respone message;
    message.set_cmd_type(14);
    message.set_res_msg("not today");
    return message;
}

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_IPC_ANSWER_FRAMES_H
