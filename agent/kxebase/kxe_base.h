/* Base library of the agent: time, text, files, paths.
 *
 * Every function may be called from any thread at any time; none keeps state between calls. Nothing
 * throws. errno is meaningful only where a function says so. */
#ifndef KXE_BASE_H
#define KXE_BASE_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/types.h>

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

/* The wall clock, in whole seconds since the epoch. It follows every change of the machine's time.
 */
uint64_t kxe_time(void);

/* The offset in `text` of the first place at or after offset `start` where the `pattern_len` bytes
 * of `pattern` stand, or a negative number when there is none. Zero bytes are ordinary bytes here.
 * Negative too: a null pointer, an empty pattern, a `start` at or behind the end. */
long kxe_str_find(const char* text, size_t text_len, const char* pattern, size_t pattern_len,
                  size_t start);

/* Prints at most `size` bytes into `buf`, the closing zero among them. Returns the length of the
 * whole text in bytes, so that a result of `size` or more says that it was cut; or a negative
 * number when it cannot be formed (null `fmt`, an encoding error), with an empty text in `buf`.
 * With a null `buf` or a `size` of 0 nothing is written and the length is returned all the same. */
int kxe_str_snprintf(char* buf, size_t size, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
/* The same under its older name. */
int str_snprintf(char* buf, size_t size, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

/* Copies `src` to `dst`, which is `size` bytes long, cut to fit and always closed with a zero byte.
 * Returns the length of `src`, so that a result of `size` or more says that it was cut. A null
 * `src` counts as an empty text; with a null `dst` or a `size` of 0 nothing is written. The two
 * must not overlap. */
size_t kxe_str_strlcpy(char* dst, const char* src, size_t size);

/* Appends `src` to the text in `dst`, which is `size` bytes long in all (not: has that much room
 * left), cut to fit and closed with a zero byte. Returns the length that the whole would have: a
 * result of `size` or more says that it was cut. When `dst` holds no zero byte within `size` it is
 * left alone and counts as `size` long. A null `src` counts as empty; a null `dst` or a `size` of 0
 * as an empty text without room. The two must not overlap. */
size_t kxe_str_strncat(char* dst, const char* src, size_t size);

/* Opens a file like fopen, with its mode strings (without a character set), a leading "@" of the
 * path expanded (see kxe_dirutils_path_transform) and the descriptor closed on exec. The caller
 * closes it with fclose. Opening to read alone never waits: a pipe that nobody writes to is opened
 * and is at its end. Null on failure with errno set; EINVAL for null or unusable arguments,
 * ENAMETOOLONG for a path of 4096 bytes or more once expanded. */
FILE* kxe_file_open(const char* path, const char* mode);

/* Writes the path `in` to `out`, which is `size` bytes long, cut to fit and closed with a zero
 * byte. A leading "@" is replaced by the directory of the running executable (the target of
 * /proc/self/exe, without the last component and its slash), so "@/../config" is the directory
 * config beside the one the executable lies in. When the link cannot be read "/" stands for it. Any
 * other path is copied as it is; a null `in` counts as empty. With a null `out` or a `size` of 0
 * nothing is written. */
void kxe_dirutils_path_transform(const char* in, char* out, size_t size);
/* The same under its older name. */
void dirutils_path_transform(const char* in, char* out, size_t size);

/* 1 when this agent is installed as the container-platform edition, which is when
 * "@/../config/cnapp" exists; otherwise 0. Looked up at every call. */
int IsCNAPPAgent(void);

/* Writes the id of the container that process `pid` runs in, 64 hexadecimal digits and a zero byte,
 * to `buf`, which is `size` bytes long. It is looked for in /proc/PID/cgroup and, since a process
 * in a cgroup namespace does not see it there, in /proc/PID/mountinfo; known are the shapes that
 * Docker, containerd, CRI-O and Podman give it. Inside a Kubernetes pod under containerd with a
 * cgroup namespace only the pod's sandbox is visible, and its id is what is written. Returns 0, or
 * -1 with an empty text when the process is in no container or cannot be looked at, or when `size`
 * is below 65; a null `buf` or a `size` of 0 gives -1 with nothing written. */
int read_container_id(pid_t pid, char* buf, size_t size);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* KXE_BASE_H */
