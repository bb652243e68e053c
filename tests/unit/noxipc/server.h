// An instance that keeps the requests it gets, to be answered when the test says so.
#ifndef TESTS_UNIT_NOXIPC_SERVER_H
#define TESTS_UNIT_NOXIPC_SERVER_H

#include <string>
#include <vector>

#include "bus.h"

struct Server {
    struct Seen {
        std::string from;
        unsigned id;
        unsigned type;
        std::string data;
    };

    explicit Server(const char* name) : instance(Join(name)) {
        EXPECT_EQ(0, nox_ipc_on_request(instance.get(), OnRequest, this));
        EXPECT_EQ(0, nox_ipc_msg_recv(instance.get(), OnMessage, this));
    }

    int Answer(const Seen& request, const std::string& data) {
        const noxipc::Address to = AddressOf(request.from.c_str());
        return nox_ipc_response(instance.get(), to.get(), request.id, 9, data.data(),
                                static_cast<unsigned>(data.size()));
    }

    Instance instance;
    std::vector<Seen> requests;
    std::vector<Seen> messages;

  private:
    static void OnRequest(nox_ipc_st* /*ipc*/, const nox_addr_st* from, unsigned id, unsigned type,
                          const char* data, unsigned len, void* user) {
        static_cast<Server*>(user)->requests.push_back(
            {nox_addr_name(from), id, type, std::string(data, len)});
    }
    static void OnMessage(nox_ipc_st* /*ipc*/, const nox_addr_st* from, unsigned type,
                          const char* data, unsigned len, void* user) {
        static_cast<Server*>(user)->messages.push_back(
            {nox_addr_name(from), 0, type, std::string(data, len)});
    }
};

#endif  // TESTS_UNIT_NOXIPC_SERVER_H
