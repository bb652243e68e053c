#include "fuzzed_agent.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include "ini_file.h"
#include "kxe_base.h"
#include "kxe_glock.h"
#include "nox_id.h"

namespace {

char handle = 0;
std::map<std::string, std::string> section;

template <class Handle>
Handle* AnyHandle() {
    return reinterpret_cast<Handle*>(&handle);
}

}  // namespace

FuzzedAgent& Agent() {
    static FuzzedAgent agent;
    return agent;
}

CEpInfoIpc& Endpoint() {
    static CEpInfoIpc endpoint;
    static const int initialised = endpoint.IpcInit();
    Require(initialised == 0);
    return endpoint;
}

nox_ipc_st* Bus() {
    return AnyHandle<nox_ipc_st>();
}

const nox_addr_st* Peer() {
    return AnyHandle<nox_addr_st>();
}

void Require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

nox_ipc_st* nox_ipc_create(const char* /*name*/, int /*flags*/) {
    return Bus();
}
void nox_ipc_destroy(nox_ipc_st* /*ipc*/) {}
nox_addr_st* nox_addr_create(const char* /*name*/, int /*a*/, int /*b*/) {
    return AnyHandle<nox_addr_st>();
}
void nox_addr_destroy(nox_addr_st* /*addr*/) {}
int nox_ipc_make_request(nox_ipc_st* /*ipc*/, const nox_addr_st* /*to*/, unsigned /*type*/,
                         const char* data, unsigned len, nox_ipc_response_cb /*cb*/, void* /*user*/,
                         int /*timeout_s*/) {
    Agent().requests.emplace_back(data, len);
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
    ++Agent().answers;
    return 0;
}
const char* nox_ipc_strerror(int /*code*/) {
    return "an error";
}
uint32_t nox_get_hostid(void) {
    return 1;
}

uint64_t kxe_time(void) {
    return 1;
}
int kxe_str_snprintf(char* buf, size_t size, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(buf, size, fmt, arguments);
    va_end(arguments);
    return length;
}
int str_snprintf(char* buf, size_t size, const char* fmt, ...) {
    va_list arguments;
    va_start(arguments, fmt);
    const int length = std::vsnprintf(buf, size, fmt, arguments);
    va_end(arguments);
    return length;
}
void kxe_dirutils_path_transform(const char* /*in*/, char* out, size_t size) {
    (void)std::snprintf(out, size, "/dev/null");
}
void dirutils_path_transform(const char* in, char* out, size_t size) {
    kxe_dirutils_path_transform(in, out, size);
}

int kxe_glock_init(const char* /*name*/, kxe_glock** lock) {
    *lock = AnyHandle<kxe_glock>();
    return 0;
}
int kxe_glock_acquire_timeout(kxe_glock* /*lock*/, unsigned /*timeout_ms*/) {
    return 0;
}
void kxe_glock_release(kxe_glock* /*lock*/) {}
void kxe_glock_destroy(kxe_glock* /*lock*/) {}

ini_file* ini_file_load(const char* /*path*/) {
    section = {{"old", "value"}};
    return AnyHandle<ini_file>();
}
int ini_file_del(ini_file* /*f*/, const char* /*section*/) {
    section.clear();
    return 0;
}
int ini_file_set(ini_file* /*f*/, const char* /*section*/, const char* key, const char* value) {
    Require(section.emplace(key, value).second);
    return 0;
}
int ini_file_save(ini_file* /*f*/, const char* /*path*/, int /*flags*/) {
    Agent().saved = section;
    return 0;
}
void ini_file_free(ini_file* /*f*/) {}
