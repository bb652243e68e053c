/* Local IPC bus of the agent. */
#ifndef NOX_IPC_H
#define NOX_IPC_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct nox_ipc_st nox_ipc_st;
typedef struct nox_addr_st nox_addr_st;
typedef void (*nox_ipc_response_cb)(int status, unsigned type, const char* data, unsigned len,
                                    void* user);
typedef void (*nox_ipc_msg_cb)(nox_ipc_st* ipc, const nox_addr_st* from, unsigned type,
                               const char* data, unsigned len, void* user);
typedef void (*nox_ipc_request_cb)(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id,
                                   unsigned type, const char* data, unsigned len, void* user);

nox_ipc_st* nox_ipc_create(const char* name, int flags);
void nox_ipc_destroy(nox_ipc_st* ipc);
nox_addr_st* nox_addr_create(const char* name, int a, int b);
void nox_addr_destroy(nox_addr_st* addr);
int nox_ipc_make_request(nox_ipc_st* ipc, const nox_addr_st* to, unsigned type, const char* data,
                         unsigned len, nox_ipc_response_cb cb, void* user, int timeout_s);
int nox_ipc_msg_recv(nox_ipc_st* ipc, nox_ipc_msg_cb cb, void* user);
int nox_ipc_on_request(nox_ipc_st* ipc, nox_ipc_request_cb cb, void* user);
int nox_ipc_response(nox_ipc_st* ipc, const nox_addr_st* to, unsigned request_id, unsigned type,
                     const char* data, unsigned len);
const char* nox_ipc_strerror(int code);
int nox_ipc_send_msg(nox_ipc_st* ipc, const nox_addr_st* to, unsigned type, const char* data,
                     unsigned len);
const char* nox_addr_name(const nox_addr_st* addr);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* NOX_IPC_H */
