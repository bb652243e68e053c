// Another bus library: everything that is sent to it is counted and answered by nobody.
#include <atomic>
#include <cstring>

#include "nox_id.h"
#include "nox_ipc.h"

namespace {

char bus;
char manager;
char configuration_centre;
std::atomic<int> uploads;

}  // namespace

extern "C" __attribute__((visibility("default"))) int plain_uploads() {
    return uploads;
}

nox_ipc_st* nox_ipc_create(const char* /*name*/, int /*flags*/) {
    return reinterpret_cast<nox_ipc_st*>(&bus);
}

void nox_ipc_destroy(nox_ipc_st* /*ipc*/) {}

nox_addr_st* nox_addr_create(const char* name, int /*a*/, int /*b*/) {
    char* const address = std::strcmp(name, "mgr_ei") == 0 ? &manager : &configuration_centre;
    return reinterpret_cast<nox_addr_st*>(address);
}

void nox_addr_destroy(nox_addr_st* /*addr*/) {}

int nox_ipc_make_request(nox_ipc_st* /*ipc*/, const nox_addr_st* to, unsigned /*type*/,
                         const char* /*data*/, unsigned /*len*/, nox_ipc_response_cb /*cb*/,
                         void* /*user*/, int /*timeout_s*/) {
    if (to == reinterpret_cast<const nox_addr_st*>(&manager)) {
        ++uploads;
    }
    return 0;
}

int nox_ipc_msg_recv(nox_ipc_st* /*ipc*/, nox_ipc_msg_cb /*cb*/, void* /*user*/) {
    return 0;
}

int nox_ipc_on_request(nox_ipc_st* /*ipc*/, nox_ipc_request_cb /*cb*/, void* /*user*/) {
    return 0;
}

int nox_ipc_response(nox_ipc_st* /*ipc*/, const nox_addr_st* /*to*/, unsigned /*request_id*/,
                     unsigned /*type*/, const char* /*data*/, unsigned /*len*/) {
    return 0;
}

const char* nox_ipc_strerror(int /*code*/) {
    return "";
}

uint32_t nox_get_hostid() {
    return 4711;
}

uint64_t nox_get_vmidid() {
    return 0;
}
