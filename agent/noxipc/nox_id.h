/* Identity of this agent and of its machine. */
#ifndef NOX_ID_H
#define NOX_ID_H

#include <stdint.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

uint32_t nox_get_hostid(void);
uint64_t nox_get_vmidid(void);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* NOX_ID_H */
