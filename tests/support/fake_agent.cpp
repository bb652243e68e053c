#include "fake_agent.h"

#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>

#include "autolog.h"

namespace kxtest {

AgentHooks& Agent() {
    static AgentHooks hooks;
    return hooks;
}

void ResetAgent() {
    Agent() = AgentHooks{};
}

namespace {

// The function of that name in the libraries behind the test program.
template <class Function>
Function* Next(const char* name) {
    void* const symbol = dlsym(RTLD_NEXT, name);
    if (symbol == nullptr) {
        std::fprintf(stderr, "no library gives %s\n", name);
        std::abort();
    }
    return reinterpret_cast<Function*>(symbol);
}

template <class Function, class... Arguments>
auto Call(const std::function<Function>& hook, const char* name, Arguments... arguments) {
    return hook ? hook(arguments...) : Next<Function>(name)(arguments...);
}

}  // namespace
}  // namespace kxtest

#define KX_CALL(name, ...) kxtest::Call(kxtest::Agent().name, #name __VA_OPT__(, ) __VA_ARGS__)

extern "C" {

int cl_ev_create_isolated_thread(pthread_t* thread, int flags, void* (*entry)(void*), void* arg) {
    return KX_CALL(cl_ev_create_isolated_thread, thread, flags, entry, arg);
}
cl_timerplus* cl_timerplus_start(int flags, int period_ms, cl_timerplus_cb cb, void* user) {
    return KX_CALL(cl_timerplus_start, flags, period_ms, cb, user);
}
int cl_event_loop_once(void) {
    return KX_CALL(cl_event_loop_once);
}
void cl_event_loop_wake(pthread_t thread) {
    KX_CALL(cl_event_loop_wake, thread);
}
int autolog_init(const char* dir, int files) {
    return KX_CALL(autolog_init, dir, files);
}
nox_ipc_st* nox_ipc_create(const char* name, int flags) {
    return KX_CALL(nox_ipc_create, name, flags);
}
void nox_ipc_destroy(nox_ipc_st* ipc) {
    KX_CALL(nox_ipc_destroy, ipc);
}
nox_addr_st* nox_addr_create(const char* name, int a, int b) {
    return KX_CALL(nox_addr_create, name, a, b);
}
void nox_addr_destroy(nox_addr_st* addr) {
    KX_CALL(nox_addr_destroy, addr);
}
int nox_ipc_make_request(nox_ipc_st* ipc, const nox_addr_st* to, unsigned type, const char* data,
                         unsigned len, nox_ipc_response_cb cb, void* user, int timeout_s) {
    return KX_CALL(nox_ipc_make_request, ipc, to, type, data, len, cb, user, timeout_s);
}
int nox_ipc_msg_recv(nox_ipc_st* ipc, nox_ipc_msg_cb cb, void* user) {
    return KX_CALL(nox_ipc_msg_recv, ipc, cb, user);
}
int nox_ipc_on_request(nox_ipc_st* ipc, nox_ipc_request_cb cb, void* user) {
    return KX_CALL(nox_ipc_on_request, ipc, cb, user);
}
int nox_ipc_response(nox_ipc_st* ipc, const nox_addr_st* to, unsigned request_id, unsigned type,
                     const char* data, unsigned len) {
    return KX_CALL(nox_ipc_response, ipc, to, request_id, type, data, len);
}
const char* nox_ipc_strerror(int code) {
    return KX_CALL(nox_ipc_strerror, code);
}
uint32_t nox_get_hostid(void) {
    return KX_CALL(nox_get_hostid);
}
uint64_t nox_get_vmidid(void) {
    return KX_CALL(nox_get_vmidid);
}
xmsg* xmsg_new(const char* name) {
    return KX_CALL(xmsg_new, name);
}
int xmsg_add(xmsg* msg, const char* key, uint16_t key_len, const char* value, uint32_t value_len) {
    return KX_CALL(xmsg_add, msg, key, key_len, value, value_len);
}
uint32_t xmsg_pack_size(const xmsg* msg) {
    return KX_CALL(xmsg_pack_size, msg);
}
int xmsg_pack(const xmsg* msg, char* buffer, uint32_t size) {
    return KX_CALL(xmsg_pack, msg, buffer, size);
}
xmsg* xmsg_unpack(const char* data, uint32_t len) {
    return KX_CALL(xmsg_unpack, data, len);
}
const char* xmsg_get(const xmsg* msg, const char* key, uint16_t key_len, uint32_t* value_len,
                     uint32_t* flags) {
    return KX_CALL(xmsg_get, msg, key, key_len, value_len, flags);
}
void xmsg_release(xmsg* msg) {
    KX_CALL(xmsg_release, msg);
}
uint64_t kxe_time(void) {
    return KX_CALL(kxe_time);
}
void kxe_dirutils_path_transform(const char* in, char* out, size_t size) {
    KX_CALL(kxe_dirutils_path_transform, in, out, size);
}
void dirutils_path_transform(const char* in, char* out, size_t size) {
    KX_CALL(dirutils_path_transform, in, out, size);
}
int IsCNAPPAgent(void) {
    return KX_CALL(IsCNAPPAgent);
}
int read_container_id(pid_t pid, char* buf, size_t size) {
    return KX_CALL(read_container_id, pid, buf, size);
}
FILE* kxe_file_open(const char* path, const char* mode) {
    return KX_CALL(kxe_file_open, path, mode);
}
kxe_ini_file* kxe_ini_file_load(const char* path) {
    return KX_CALL(kxe_ini_file_load, path);
}
const char* kxe_ini_file_get(kxe_ini_file* f, const char* section, const char* key) {
    return KX_CALL(kxe_ini_file_get, f, section, key);
}
int kxe_ini_file_set(kxe_ini_file* f, const char* section, const char* key, const char* value) {
    return KX_CALL(kxe_ini_file_set, f, section, key, value);
}
int kxe_ini_file_save(kxe_ini_file* f, const char* path, int flags) {
    return KX_CALL(kxe_ini_file_save, f, path, flags);
}
void kxe_ini_file_free(kxe_ini_file* f) {
    KX_CALL(kxe_ini_file_free, f);
}
ini_file* ini_file_load(const char* path) {
    return KX_CALL(ini_file_load, path);
}
const char* ini_file_get(ini_file* f, const char* section, const char* key) {
    return KX_CALL(ini_file_get, f, section, key);
}
int ini_file_set(ini_file* f, const char* section, const char* key, const char* value) {
    return KX_CALL(ini_file_set, f, section, key, value);
}
int ini_file_del(ini_file* f, const char* section) {
    return KX_CALL(ini_file_del, f, section);
}
int ini_file_save(ini_file* f, const char* path, int flags) {
    return KX_CALL(ini_file_save, f, path, flags);
}
void ini_file_free(ini_file* f) {
    KX_CALL(ini_file_free, f);
}
int kxe_glock_init(const char* name, kxe_glock** lock) {
    return KX_CALL(kxe_glock_init, name, lock);
}
int kxe_glock_acquire_timeout(kxe_glock* lock, unsigned timeout_ms) {
    return KX_CALL(kxe_glock_acquire_timeout, lock, timeout_ms);
}
void kxe_glock_release(kxe_glock* lock) {
    KX_CALL(kxe_glock_release, lock);
}
void kxe_glock_destroy(kxe_glock* lock) {
    KX_CALL(kxe_glock_destroy, lock);
}

}  // extern "C"
