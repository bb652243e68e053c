/*
 * Key/value messages: what the agent's parts say to each other over the local bus.
 *
 * A message has a name and any number of entries. An entry is a key of at most 65535 bytes and a
 * value; both are bytes with a length, may be empty and may contain zero bytes. A key occurs once.
 * Entries keep the order in which they were added. A whole message is at most 16 MiB when packed
 * (XMSG_MAX_SIZE); the number of entries is limited by nothing else.
 *
 * Packed form, version 1. Numbers are unsigned and big-endian, nothing is aligned:
 *
 *   offset  size  field
 *   0       4     magic, the characters "KXMS"
 *   4       2     version, 1
 *   6       2     length of the name
 *   8       4     length of the whole message, this header included
 *   12      4     number of entries
 *   16      n     name
 *   16 + n  1     zero byte
 *   ...           the entries, one behind the other, up to the end of the message
 *
 * and each entry:
 *
 *   0          2  length of the key
 *   2          4  length of the value
 *   6          k  key
 *   6 + k      v  value
 *   6 + k + v  1  zero byte
 *
 * The form is deterministic: the same name and the same entries in the same order give the same
 * bytes. The message says its own length, so bytes behind it do not count. The zero byte behind a
 * value is in the packed form because a reader gets pointers into it and reads text as C strings.
 *
 * Threads: a message belongs to one thread at a time; different messages are independent. A message
 * that nobody changes may be read by several threads.
 *
 * No exception leaves these functions; an allocation that fails is reported by the result.
 */
#ifndef XMSG_H
#define XMSG_H

#include <stdint.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* Largest packed message, in bytes. */
#define XMSG_MAX_SIZE 16777216U /* 16 MiB */

typedef struct xmsg xmsg;

/*
 * Makes a message without entries. `name` is copied; it may be empty and has at most 65535 bytes.
 * Returns a message that the caller frees with xmsg_release, or null when `name` is null or too
 * long, or when memory is short.
 */
xmsg* xmsg_new(const char* name);

/*
 * Appends an entry. Key and value are copied; they may lie in the message itself. `key` may be null
 * when `key_len` is 0, and `value` when `value_len` is 0. A message from xmsg_unpack can be added
 * to as well. Pointers that xmsg_get gave for this message before are invalid afterwards.
 *
 * Returns 0, or with the message unchanged: EINVAL (a null message, or null with a length), EEXIST
 * (the key is there already), EMSGSIZE (the packed message would exceed XMSG_MAX_SIZE) or ENOMEM.
 */
int xmsg_add(xmsg* msg, const char* key, uint16_t key_len, const char* value, uint32_t value_len);

/* Length of the packed form in bytes, 1 to XMSG_MAX_SIZE; 0 for a null message. */
uint32_t xmsg_pack_size(const xmsg* msg);

/*
 * Writes the packed form to `buffer`, which holds `size` bytes. Returns the number of bytes
 * written, always xmsg_pack_size(msg), or -1 with the buffer untouched when the message or the
 * buffer is null or `size` is too small.
 */
int xmsg_pack(const xmsg* msg, char* buffer, uint32_t size);

/*
 * Rebuilds a message from packed bytes. `len` is the number of bytes that may be read at `data`; it
 * may be more than the message says it is long, the rest is ignored and never read. The bytes are
 * copied, need no alignment and may come from anybody: every length in them is checked.
 *
 * Returns a message that the caller frees with xmsg_release, or null when `data` is null, the bytes
 * are not one whole message of version 1, a key occurs twice or memory is short. The effort grows
 * with the length and the logarithm of the number of entries.
 *
 * Nested messages: a value that is itself a packed message can be unpacked where xmsg_get shows it,
 * either with the length of the value or with the `len` that its outer message was unpacked with.
 * The second form may name more bytes than the value has. It is safe since the outer message keeps
 * behind its own bytes at least as many zero bytes as it is long and as `len` said (but not more
 * than XMSG_MAX_SIZE, which no message exceeds), so whatever the nested header claims, nothing is
 * read that the outer message does not own.
 */
xmsg* xmsg_unpack(const char* data, uint32_t len);

/*
 * Finds the value of a key; keys are compared byte by byte. `value_len` and `flags` may be null;
 * otherwise they receive the length of the value, without its zero byte, and 0: flags are kept for
 * a later version. Both are 0 when the key is absent.
 *
 * Returns a pointer to the value, which is followed by one zero byte, or null when the key is
 * absent, the message is null, or the key is null with a length. The value belongs to the message:
 * it lives until xmsg_release or the next xmsg_add, and must not be changed.
 */
const char* xmsg_get(const xmsg* msg, const char* key, uint16_t key_len, uint32_t* value_len,
                     uint32_t* flags);

/* Frees a message; null is allowed. */
void xmsg_release(xmsg* msg);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* XMSG_H */
