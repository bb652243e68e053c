// The agent's libraries as the module sees them, with a hook in front of each function. A hook that
// is not set lets the call through to the real library, so a test replaces only what it wants to
// fail. The real libraries see the hooks too.
#ifndef KXEPINFO_TESTS_SUPPORT_FAKE_AGENT_H
#define KXEPINFO_TESTS_SUPPORT_FAKE_AGENT_H

#include <functional>

#include "cl_ev.h"
#include "ini_file.h"
#include "kxe_base.h"
#include "kxe_glock.h"
#include "kxe_ini.h"
#include "nox_id.h"
#include "nox_ipc.h"
#include "xmsg.h"

namespace kxtest {

template <class Function>
using Hook = std::function<Function>;

#define KX_HOOK(name) Hook<decltype(::name)> name

struct AgentHooks {
    KX_HOOK(cl_ev_create_isolated_thread);
    KX_HOOK(cl_timerplus_start);
    KX_HOOK(cl_event_loop_once);
    KX_HOOK(cl_event_loop_wake);
    Hook<int(const char*, int)> autolog_init;
    KX_HOOK(nox_ipc_create);
    KX_HOOK(nox_ipc_destroy);
    KX_HOOK(nox_addr_create);
    KX_HOOK(nox_addr_destroy);
    KX_HOOK(nox_ipc_make_request);
    KX_HOOK(nox_ipc_msg_recv);
    KX_HOOK(nox_ipc_on_request);
    KX_HOOK(nox_ipc_response);
    KX_HOOK(nox_ipc_strerror);
    KX_HOOK(nox_get_hostid);
    KX_HOOK(nox_get_vmidid);
    KX_HOOK(xmsg_new);
    KX_HOOK(xmsg_add);
    KX_HOOK(xmsg_pack_size);
    KX_HOOK(xmsg_pack);
    KX_HOOK(xmsg_unpack);
    KX_HOOK(xmsg_get);
    KX_HOOK(xmsg_release);
    KX_HOOK(kxe_time);
    KX_HOOK(kxe_dirutils_path_transform);
    KX_HOOK(dirutils_path_transform);
    KX_HOOK(IsCNAPPAgent);
    KX_HOOK(read_container_id);
    KX_HOOK(kxe_file_open);
    KX_HOOK(kxe_ini_file_load);
    KX_HOOK(kxe_ini_file_get);
    KX_HOOK(kxe_ini_file_set);
    KX_HOOK(kxe_ini_file_save);
    KX_HOOK(kxe_ini_file_free);
    KX_HOOK(ini_file_load);
    KX_HOOK(ini_file_get);
    KX_HOOK(ini_file_set);
    KX_HOOK(ini_file_del);
    KX_HOOK(ini_file_save);
    KX_HOOK(ini_file_free);
    KX_HOOK(kxe_glock_init);
    KX_HOOK(kxe_glock_acquire_timeout);
    KX_HOOK(kxe_glock_release);
    KX_HOOK(kxe_glock_destroy);
};

#undef KX_HOOK

// The hooks of this process. Set and reset them while no other thread runs.
AgentHooks& Agent();

// Lets every call through again.
void ResetAgent();

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_SUPPORT_FAKE_AGENT_H
