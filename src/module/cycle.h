// One collection cycle: gather facts, build one upload, send it to the manager.
//
// An upload is made of sections, one function each, which collect a record and add it to the
// serializer. ProcessMain calls them in the order of their bits in the upload's cmd, and looks
// after the two slow ones and before the send whether to go on: a stop or an uninstallation in
// progress ends the cycle without a send.
#ifndef KXEPINFO_MODULE_CYCLE_H
#define KXEPINFO_MODULE_CYCLE_H

class CEpInfoIpc;

// Runs one cycle on the worker's thread, which takes at least the second that processor load is
// sampled for. `exit_flag` is s_exitFlag. A failed step is logged and the cycle goes on with what
// it has; only without a serializer it ends at once. The answer comes later to IpcOnResponse.
//
// Returns what the last step that can fail reported: 0; -1 from the serializer; or the code of a
// collector. A send that fails does not count. 12 when the cycle ended early for want of memory.
int ProcessMain(CEpInfoIpc* ipc, int* exit_flag);

#endif  // KXEPINFO_MODULE_CYCLE_H
