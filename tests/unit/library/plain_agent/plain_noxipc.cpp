// Another bus library, for one process: what is sent stays with the test, which answers for the
// peers.
#include <cerrno>
#include <list>

#include "bus_instance.h"
#include "guarded.h"
#include "handles.h"
#include "loop.h"
#include "nox_id.h"
#include "watch.h"

using plain::Breach;
using plain::Call;

nox_ipc_st* plain::instance = nullptr;

namespace {

// Those that are never given back live as long as the process.
std::list<nox_addr_st> addresses;

bool IsInstance(const nox_ipc_st* ipc, const char* function) {
    return plain::IsOut(ipc, plain::kInstance, function);
}

void Deliver(const plain::Answer& answer, nox_ipc_response_cb cb, void* user) {
    if (answer.status != 0) {
        cb(answer.status, 0, nullptr, 0, user);
        return;
    }
    const plain::GuardedBytes bytes(answer.data, 1);
    cb(0, answer.type, bytes.data(), static_cast<unsigned>(bytes.size()), user);
}

}  // namespace

nox_ipc_st* nox_ipc_create(const char* name, int flags) {
    Call call("nox_ipc_create");
    if (name == nullptr || flags != 0 || plain::instance != nullptr) {
        Breach("an instance that cannot be");
    }
    if (call.MustFail()) {
        return nullptr;
    }
    plain::instance = new nox_ipc_st;
    plain::HandOut(plain::instance, plain::kInstance);
    return plain::instance;
}

// Callbacks that wait in the loop find that their instance is gone.
void nox_ipc_destroy(nox_ipc_st* ipc) {
    const Call call("nox_ipc_destroy");
    if (plain::TakeBack(ipc, plain::kInstance, "nox_ipc_destroy")) {
        plain::instance = nullptr;
        delete ipc;
    }
}

// Another handle each time, so that each one given back, or not, is seen.
nox_addr_st* nox_addr_create(const char* name, int /*a*/, int /*b*/) {
    Call call("nox_addr_create");
    if (call.MustFail()) {
        return nullptr;
    }
    addresses.push_back({name});
    plain::HandOut(&addresses.back(), plain::kAddress, name);
    return &addresses.back();
}

void nox_addr_destroy(nox_addr_st* addr) {
    const Call call("nox_addr_destroy");
    if (plain::TakeBack(addr, plain::kAddress, "nox_addr_destroy")) {
        addresses.remove_if([addr](const nox_addr_st& address) { return &address == addr; });
    }
}

int nox_ipc_make_request(nox_ipc_st* ipc, const nox_addr_st* to, unsigned type, const char* data,
                         unsigned len, nox_ipc_response_cb cb, void* user, int timeout_s) {
    Call call("nox_ipc_make_request");
    if (!IsInstance(ipc, "nox_ipc_make_request") ||
        !plain::IsOut(to, plain::kAddress, "nox_ipc_make_request")) {
        return EINVAL;
    }
    if (data == nullptr || cb == nullptr || timeout_s < 1) {
        Breach("a request without data, callback or time-out");
        return EINVAL;
    }
    const bool fails = call.MustFail();
    const plain::Answer recorded = plain::Record(plain::Request{to->name, type, {data, len}});
    const plain::Answer answer = fails ? plain::Answer{.status = ENOBUFS} : recorded;
    plain::Post([=] {
        if (plain::instance == ipc) {
            Deliver(answer, cb, user);
        }
    });
    return fails ? ENOBUFS : 0;
}

int nox_ipc_msg_recv(nox_ipc_st* ipc, nox_ipc_msg_cb cb, void* user) {
    Call call("nox_ipc_msg_recv");
    if (!IsInstance(ipc, "nox_ipc_msg_recv") || call.MustFail()) {
        return -1;
    }
    ipc->on_message = cb;
    ipc->message_user = user;
    return 0;
}

int nox_ipc_on_request(nox_ipc_st* ipc, nox_ipc_request_cb cb, void* user) {
    Call call("nox_ipc_on_request");
    if (!IsInstance(ipc, "nox_ipc_on_request") || call.MustFail()) {
        return -1;
    }
    ipc->on_request = cb;
    ipc->request_user = user;
    return 0;
}

int nox_ipc_response(nox_ipc_st* ipc, const nox_addr_st* to, unsigned request_id, unsigned type,
                     const char* data, unsigned len) {
    Call call("nox_ipc_response");
    if (!IsInstance(ipc, "nox_ipc_response") ||
        !plain::IsOut(to, plain::kSender, "nox_ipc_response")) {
        return EINVAL;
    }
    if (data == nullptr || request_id == 0 || request_id != ipc->open_request) {
        Breach("an answer to what was not asked");
        return EINVAL;
    }
    if (call.MustFail()) {
        return EPIPE;
    }
    ipc->open_request = 0;  // answered once
    plain::Record(plain::Response{request_id, type, {data, len}});
    return 0;
}

const char* nox_ipc_strerror(int code) {
    const Call call("nox_ipc_strerror");
    switch (code) {
        case 0:
            return "plain success";
        case ECONNREFUSED:
            return "plain refusal";
        case ETIMEDOUT:
            return "plain time-out";
        default:
            return "plain failure";
    }
}

uint32_t nox_get_hostid() {
    Call call("nox_get_hostid");
    return call.MustFail() ? 0 : 4711;
}

uint64_t nox_get_vmidid() {
    Call call("nox_get_vmidid");
    return call.MustFail() ? 0 : 815;
}
