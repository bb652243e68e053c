/* Local IPC bus of the agent.
 *
 * There is no broker. Each instance listens on the Unix stream socket @/../var/run/ipc/NAME.sock
 * ("@" is the directory of the running executable) and connects to its peers' when it has something
 * for them. The installation's path may be longer than a socket address can hold.
 *
 * Threads: an instance belongs to the thread that created it. It is used and destroyed there,
 * before that thread ends, and all its callbacks run there, from cl_event_loop_once (cl_ev.h).
 * Addresses may be made, read and released on any thread.
 *
 * Callbacks: data handed to a callback is valid until it returns, is aligned to 8 bytes, may be
 * written to, and is followed by one zero byte that `len` does not count. A callback may call every
 * function here, nox_ipc_destroy for its own instance included. It must not let an exception out.
 *
 * Who may connect: processes of the same user and of root, told by the kernel's peer credentials
 * when a connection is accepted and when one is made. The directory's mode is 0700, a socket's
 * 0600. Group ids (numbers) in @/../config/ipc.ini, section [ipc], key allowed_gids, separated by
 * commas, may connect as well; the first of them then owns the directory and the sockets, which get
 * the modes 01770 and 0660. The file is read when an instance is created. Anyone else is dropped
 * and logged. The name that a peer gives itself is not proved by anything: every process that may
 * connect is trusted with it.
 *
 * Bounds: 16 MiB a payload; 32 MiB waiting to be written to one connection, counted with what it
 * costs to keep them; 256 inbound connections an instance; 1024 unanswered inbound requests a
 * connection, of which the oldest is forgotten when one more comes; 5 s from the first byte of a
 * frame to its last, and from the start of a connection to the end of its greeting. Who breaks a
 * bound or sends anything malformed loses that connection and nothing else.
 *
 * Processes: an instance does not survive fork(); the child must neither use nor destroy it. */
#ifndef NOX_IPC_H
#define NOX_IPC_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct nox_ipc_st nox_ipc_st;
typedef struct nox_addr_st nox_addr_st;

/* The outcome of a request. status 0: the response is `type`, `data` and `len`; `data` is not null,
 * even when `len` is 0. Any other status is an errno value, `data` is null, `type` and `len` are 0:
 *   ECONNREFUSED  nobody listens under that name, or somebody who may not
 *   ECONNRESET    the peer went away or ended the connection before it answered
 *   ETIMEDOUT     no response in time
 *   EMSGSIZE      the request is longer than 16 MiB
 *   ENOBUFS       32 MiB are waiting for that peer already, or descriptors have run out
 *   ENOMEM        memory has run out */
typedef void (*nox_ipc_response_cb)(int status, unsigned type, const char* data, unsigned len,
                                    void* user);

/* A one-way message. `from` is borrowed and valid until the callback returns. */
typedef void (*nox_ipc_msg_cb)(nox_ipc_st* ipc, const nox_addr_st* from, unsigned type,
                               const char* data, unsigned len, void* user);

/* A request; nox_ipc_response answers it, now or later, or nobody does. `request_id` is unique
 * within the instance. `from` is borrowed and valid until the callback returns; to answer later,
 * make an address of the same name. */
typedef void (*nox_ipc_request_cb)(nox_ipc_st* ipc, const nox_addr_st* from, unsigned request_id,
                                   unsigned type, const char* data, unsigned len, void* user);

/* Joins the bus under `name`, 1 to 64 letters, digits and "_", "-" or ".", without a leading or a
 * double dot. Makes the directory with its parents. What a crashed instance of that name left
 * behind is taken over; a living one, of any process, is not: after 50 ms, in which what a crashed
 * process was just starting has let go of the name, the caller is refused.
 *
 * flags: kept and not interpreted.
 * Returns the instance, which the caller releases with nox_ipc_destroy, or null; the reason is
 * logged. */
nox_ipc_st* nox_ipc_create(const char* name, int flags);

/* Leaves the bus at once: the name is free again when this returns. No callback of the instance
 * runs any more; open requests are dropped, and so is what could not be written yet. Null is
 * allowed. */
void nox_ipc_destroy(nox_ipc_st* ipc);

/* A handle for the peer `name`, which need not exist. The two numbers are kept and not interpreted.
 * Equal arguments give the same handle, counted, so that a caller who never releases one does not
 * make the process grow. Null for a name that nox_ipc_create would not take, or when memory has run
 * out. */
nox_addr_st* nox_addr_create(const char* name, int a, int b);

/* Releases one nox_addr_create. Null is allowed. */
void nox_addr_destroy(nox_addr_st* addr);

/* Sends a request and calls `cb` exactly once with its outcome, in a later pass of the event loop,
 * never from within this call. The data is copied. Connects when there is no connection or the peer
 * has gone away since. Any number of requests may be open, to one peer or several.
 *
 * data: may be null when `len` is 0. timeout_s: seconds; 0 or less stands for 30. A response that
 * is there when the time is up, but has not been read yet, still counts. Returns 0; or, and then
 * `cb` is never called, EINVAL when `ipc`, `to` or `cb` is null or `data` is null and `len` is not
 * 0, ENOMEM when there is not even memory to remember the request. */
int nox_ipc_make_request(nox_ipc_st* ipc, const nox_addr_st* to, unsigned type, const char* data,
                         unsigned len, nox_ipc_response_cb cb, void* user, int timeout_s);

/* Routes one-way messages to `cb`; a null `cb` turns them off again. Messages that nobody has asked
 * for are dropped. Returns 0, or EINVAL when `ipc` is null. */
int nox_ipc_msg_recv(nox_ipc_st* ipc, nox_ipc_msg_cb cb, void* user);

/* Routes requests to `cb`; a null `cb` turns them off again. Requests that nobody has asked for are
 * dropped, and time out at the peer. Returns 0, or EINVAL when `ipc` is null. */
int nox_ipc_on_request(nox_ipc_st* ipc, nox_ipc_request_cb cb, void* user);

/* Answers the request `request_id` that the peer named like `to` has made, on the connection it
 * came by. The data is copied. A request is answered once; when this fails with EMSGSIZE, ENOBUFS
 * or ENOMEM it stays open.
 *
 * Returns 0 when the response is on its way, otherwise an errno value: EINVAL when `ipc` or `to` is
 * null or `data` is null and `len` is not 0; ENOENT when that peer has no such request open
 * (answered already, forgotten, or its connection has ended); ECONNRESET when the peer has just
 * gone away; EMSGSIZE, ENOBUFS, ENOMEM as for a request. */
int nox_ipc_response(nox_ipc_st* ipc, const nox_addr_st* to, unsigned request_id, unsigned type,
                     const char* data, unsigned len);

/* A printable English text for a code of this interface; of any other number, -1 included, too.
 * Never null; static. */
const char* nox_ipc_strerror(int code);

/* Sends a one-way message. The data is copied. Returns 0 when it is on its way, which does not say
 * that it arrives; otherwise EINVAL as for a request, or one of the statuses of a response
 * callback. For the agent's own programs: an implementation of this interface need not have it. */
int nox_ipc_send_msg(nox_ipc_st* ipc, const nox_addr_st* to, unsigned type, const char* data,
                     unsigned len);

/* The name of an address; valid as long as the address is. Null for null. For the agent's own
 * programs: an implementation of this interface need not have it. */
const char* nox_addr_name(const nox_addr_st* addr);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* NOX_IPC_H */
