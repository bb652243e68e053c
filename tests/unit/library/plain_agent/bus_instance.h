// What the two halves of the plain bus share: the module's (plain_noxipc.cpp) and the peers'
// (bus.cpp).
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_BUS_INSTANCE_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_BUS_INSTANCE_H

#include <string>

#include "bus.h"
#include "nox_ipc.h"

struct nox_addr_st {
    std::string name;
};

struct nox_ipc_st {
    nox_ipc_msg_cb on_message = nullptr;
    void* message_user = nullptr;
    nox_ipc_request_cb on_request = nullptr;
    void* request_user = nullptr;
    unsigned open_request = 0;  // that the module is being asked just now; 0: none
};

namespace plain {

// The one instance there is, null while there is none. On the worker only.
extern nox_ipc_st* instance;

// Kinds of handles.
inline constexpr char kInstance[] = "bus instance";
inline constexpr char kAddress[] = "address";
inline constexpr char kSender[] = "address of a sender";

// Keeps it, and says what the peer answers.
Answer Record(const Request& request);
void Record(const Response& response);

}  // namespace plain

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_BUS_INSTANCE_H
