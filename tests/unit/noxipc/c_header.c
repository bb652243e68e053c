/* That the headers stand alone in C and declare what the library gives. */
#include "nox_id.h"
#include "nox_ipc.h"

static nox_ipc_st* (*const create)(const char*, int) = nox_ipc_create;
static void (*const destroy)(nox_ipc_st*) = nox_ipc_destroy;
static nox_addr_st* (*const addr_create)(const char*, int, int) = nox_addr_create;
static void (*const addr_destroy)(nox_addr_st*) = nox_addr_destroy;
static int (*const make_request)(nox_ipc_st*, const nox_addr_st*, unsigned, const char*, unsigned,
                                 nox_ipc_response_cb, void*, int) = nox_ipc_make_request;
static int (*const msg_recv)(nox_ipc_st*, nox_ipc_msg_cb, void*) = nox_ipc_msg_recv;
static int (*const on_request)(nox_ipc_st*, nox_ipc_request_cb, void*) = nox_ipc_on_request;
static int (*const response)(nox_ipc_st*, const nox_addr_st*, unsigned, unsigned, const char*,
                             unsigned) = nox_ipc_response;
static const char* (*const error_text)(int) = nox_ipc_strerror;
static int (*const send_msg)(nox_ipc_st*, const nox_addr_st*, unsigned, const char*,
                             unsigned) = nox_ipc_send_msg;
static const char* (*const addr_name)(const nox_addr_st*) = nox_addr_name;
static uint32_t (*const hostid)(void) = nox_get_hostid;
static uint64_t (*const vmidid)(void) = nox_get_vmidid;

int CountOfFunctionsSeenFromC(void);
int CountOfFunctionsSeenFromC(void) {
    return !!create + !!destroy + !!addr_create + !!addr_destroy + !!make_request + !!msg_recv +
           !!on_request + !!response + !!error_text + !!send_msg + !!addr_name + !!hostid +
           !!vmidid;
}
