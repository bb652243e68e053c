/* Key/value messages. */
#ifndef XMSG_H
#define XMSG_H

#include <stdint.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct xmsg xmsg;

xmsg* xmsg_new(const char* name);
int xmsg_add(xmsg* msg, const char* key, uint16_t key_len, const char* value, uint32_t value_len);
uint32_t xmsg_pack_size(const xmsg* msg);
int xmsg_pack(const xmsg* msg, char* buffer, uint32_t size);
xmsg* xmsg_unpack(const char* data, uint32_t len);
const char* xmsg_get(const xmsg* msg, const char* key, uint16_t key_len, uint32_t* value_len,
                     uint32_t* flags);
void xmsg_release(xmsg* msg);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* XMSG_H */
