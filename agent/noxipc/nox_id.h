/* Identity of this agent and of its machine. Both functions may be called from any thread. */
#ifndef NOX_ID_H
#define NOX_ID_H

#include <stdint.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* This agent's id: the decimal number in @/../config/agent_id ("@" is the directory of the running
 * executable), 1 to 4294967295, blanks around it allowed. When the file is missing or holds
 * anything else, a random id is drawn from the kernel and written there, with mode 0640 and
 * atomically; of several processes that draw at a time all end with the same id. When
 * @/../config/recalculate_agentid is newer than the file, a new id is drawn, once.
 *
 * Returns 0 when there is no id and none could be written (one that is not kept would be another at
 * the next start); the reason is logged and the next call tries again. An id once returned stays
 * the same until the process ends. */
uint32_t nox_get_hostid(void);

/* This virtual machine's id: the 64-bit FNV-1a hash of the firmware's product UUID
 * (/sys/class/dmi/id/product_uuid, which root alone can read) in lower case, otherwise of the text
 * of /etc/machine-id; without blanks around it. A UUID of nothing but zeros or nothing but f, which
 * some firmware gives to every machine, does not count. 0 when neither can be read. */
uint64_t nox_get_vmidid(void);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* NOX_ID_H */
