/* Base library of the agent: time, text, files, paths. */
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

uint64_t kxe_time(void);
long kxe_str_find(const char* text, size_t text_len, const char* pattern, size_t pattern_len,
                  size_t start);
int kxe_str_snprintf(char* buf, size_t size, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
int str_snprintf(char* buf, size_t size, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));
size_t kxe_str_strlcpy(char* dst, const char* src, size_t size);
size_t kxe_str_strncat(char* dst, const char* src, size_t size);
FILE* kxe_file_open(const char* path, const char* mode);
void kxe_dirutils_path_transform(const char* in, char* out, size_t size);
void dirutils_path_transform(const char* in, char* out, size_t size);
int IsCNAPPAgent(void);
int read_container_id(pid_t pid, char* buf, size_t size);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* KXE_BASE_H */
