// The C interface: checks arguments and keeps exceptions in.
#include "nox_ipc.h"

#include <cerrno>
#include <cstring>
#include <new>

#include "cl_ev.h"
#include "instance.h"
#include "log.h"
#include "name.h"

namespace {

using noxipc::Kind;
using noxipc::Outgoing;

constexpr int kDefaultTimeoutSeconds = 30;

uint64_t Milliseconds(int seconds) {
    return static_cast<uint64_t>(seconds > 0 ? seconds : kDefaultTimeoutSeconds) * 1000;
}

bool CanSend(const nox_ipc_st* ipc, const nox_addr_st* to, const char* data, unsigned len) {
    return ipc != nullptr && to != nullptr && (data != nullptr || len == 0);
}

// The result of `function`, or ENOMEM.
template <class Function>
int KeepingExceptionsIn(Function function) {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

nox_ipc_st* Create(const char* name, int flags, int* error) {
    if (name == nullptr || !noxipc::IsValidName(name)) {
        *error = EINVAL;
        return nullptr;
    }
    uv_loop_t* const loop = cl_event_loop_current();
    if (loop == nullptr) {
        *error = ENOMEM;
        return nullptr;
    }
    return nox_ipc_st::Make(loop, name, flags, error);
}

}  // namespace

nox_ipc_st* nox_ipc_create(const char* name, int flags) {
    nox_ipc_st* instance = nullptr;
    int error = 0;
    try {
        instance = Create(name, flags, &error);
    } catch (const std::bad_alloc&) {
        error = ENOMEM;
    }
    if (instance == nullptr) {
        NOX_LOG(noxipc::kLogError, "cannot join the bus as \"%s\": %s", name == nullptr ? "" : name,
                error == EADDRINUSE ? "the name is taken" : std::strerror(error));
    }
    return instance;
}

void nox_ipc_destroy(nox_ipc_st* ipc) {
    delete ipc;
}

int nox_ipc_make_request(nox_ipc_st* ipc, const nox_addr_st* to, unsigned type, const char* data,
                         unsigned len, nox_ipc_response_cb cb, void* user, int timeout_s) {
    if (!CanSend(ipc, to, data, len) || cb == nullptr) {
        return EINVAL;
    }
    return KeepingExceptionsIn([&] {
        ipc->MakeRequest(nox_addr_name(to), Outgoing{Kind::kRequest, type, 0, data, len}, cb, user,
                         Milliseconds(timeout_s));
        return 0;
    });
}

int nox_ipc_msg_recv(nox_ipc_st* ipc, nox_ipc_msg_cb cb, void* user) {
    if (ipc == nullptr) {
        return EINVAL;
    }
    ipc->set_on_message(cb, user);
    return 0;
}

int nox_ipc_on_request(nox_ipc_st* ipc, nox_ipc_request_cb cb, void* user) {
    if (ipc == nullptr) {
        return EINVAL;
    }
    ipc->set_on_request(cb, user);
    return 0;
}

int nox_ipc_response(nox_ipc_st* ipc, const nox_addr_st* to, unsigned request_id, unsigned type,
                     const char* data, unsigned len) {
    if (!CanSend(ipc, to, data, len)) {
        return EINVAL;
    }
    return KeepingExceptionsIn([&] {
        return ipc->Respond(nox_addr_name(to),
                            Outgoing{Kind::kResponse, type, request_id, data, len});
    });
}

int nox_ipc_send_msg(nox_ipc_st* ipc, const nox_addr_st* to, unsigned type, const char* data,
                     unsigned len) {
    if (!CanSend(ipc, to, data, len)) {
        return EINVAL;
    }
    return KeepingExceptionsIn([&] {
        return ipc->SendMessage(nox_addr_name(to), Outgoing{Kind::kMessage, type, 0, data, len});
    });
}
