/*
 * Endpoint-information module: what a host process needs to load libkxepinfo.so, start it and stop
 * it.
 *
 * The module starts one worker thread of its own, which gathers facts about this machine and sends
 * them to the agent's manager over the local IPC bus. It expects the agent's installation around
 * the host's executable: "bin/host", "config/", "var/".
 */
#ifndef KXEPINFO_H
#define KXEPINFO_H

#include <stdint.h>

#ifdef __cplusplus
#include <string>
#endif

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/*
 * Starts the worker. Returns 0, or the error code of the event-loop library when no thread could be
 * created. Returns at once: what goes wrong later on the worker is told in the log only.
 * To be called once; again only after kxepinfo_uninit has returned.
 */
int kxepinfo_init(void);

/*
 * Stops the worker and waits for its end: for the rest of a running collection cycle (one second of
 * sampling), one pass of its event loop and the 100 ms pause behind it. An event-loop library that
 * cannot be woken makes the pass last until its next event, at the latest the upload timer's.
 * Always returns 0. To be called once for each successful kxepinfo_init, and before the library is
 * unloaded.
 */
int kxepinfo_uninit(void);

/* 1: online with the manager; any other value: offline. 1 when the library is loaded. */
extern uint32_t g_preOnlineState;

/* How many exchanges with the manager have failed in a row. */
extern uint32_t Attempt_Times;

#ifdef __cplusplus
/*
 * The four data symbols belong to the worker: a host may read them while no worker runs. The two
 * strings are C++ objects and so can be declared for C++ only; C linkage keeps the compiler from
 * adding the string's ABI tag to their names.
 */
extern std::string g_strCurConnectIp; /* local address that links to the manager, as last found */
extern std::string g_strPreConnectIp; /* the same when the manager last answered */
}
#endif
#pragma GCC visibility pop

#endif /* KXEPINFO_H */
