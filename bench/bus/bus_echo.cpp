#include "bus_echo.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "cl_ev.h"
#include "report.h"

namespace {

constexpr char kClient[] = "bench_client";
constexpr unsigned kType = 1;
constexpr int kTimeoutSeconds = 30;

void Answer(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id, unsigned type,
            const char* data, unsigned len, void* /*user*/) {
    (void)nox_ipc_response(ipc, from, request_id, type, data, len);
}

}  // namespace

void ServeBus(const char* name) {
    nox_ipc_st* const ipc = nox_ipc_create(name, 0);
    if (ipc == nullptr || nox_ipc_on_request(ipc, Answer, nullptr) != 0) {
        kxbench::Fail("the bus does not take the server");
    }
    while (cl_event_loop_once() != 0) {
    }
    std::exit(EXIT_FAILURE);
}

BusClient::BusClient()
    : ipc_(nox_ipc_create(kClient, 0)), server_(nox_addr_create(kEchoServer, 0, 0)) {
    if (ipc_ == nullptr || server_ == nullptr) {
        kxbench::Fail("the bus does not take the client");
    }
    const std::string hello = "hello";
    for (int attempt = 0; RoundTrip(hello) != 0; ++attempt) {
        if (attempt == 1000) {
            kxbench::Fail("nobody answers on the bus");
        }
        (void)usleep(10000);
    }
}

void BusClient::OnResponse(int status, unsigned /*type*/, const char* data, unsigned len,
                           void* user) {
    auto* const client = static_cast<BusClient*>(user);
    client->answered_ = true;
    client->status_ = status;
    if (status == 0 && (len != client->expected_->size() ||
                        std::memcmp(data, client->expected_->data(), len) != 0)) {
        client->status_ = EBADMSG;
    }
}

int BusClient::RoundTrip(const std::string& payload) {
    expected_ = &payload;
    answered_ = false;
    const int result = nox_ipc_make_request(ipc_.get(), server_.get(), kType, payload.data(),
                                            static_cast<unsigned>(payload.size()), OnResponse, this,
                                            kTimeoutSeconds);
    if (result != 0) {
        return result;
    }
    while (!answered_) {
        (void)cl_event_loop_once();
    }
    return status_;
}

void BusClient::RoundTrips(const std::string& payload, int count) {
    for (int i = 0; i < count; ++i) {
        if (const int status = RoundTrip(payload); status != 0) {
            kxbench::Fail(std::string("a round trip over the bus failed: ") +
                          nox_ipc_strerror(status));
        }
    }
}
