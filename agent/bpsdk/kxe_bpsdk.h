/* Tracing SDK; loaded at run time only. */
#ifndef KXE_BPSDK_H
#define KXE_BPSDK_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct kxe_bp_header { /* 212 bytes */
    char module[32], event[64], product[16], version[16], host_id[16], reserved[68];
} kxe_bp_header;

int kxe_bp_init(void);
void kxe_bp_uninit(void);
int kxe_bp_trace(const kxe_bp_header* header, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));
int kxe_bp_trace_unicode(const kxe_bp_header* header, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));
int kxe_bp_trace_utf8(const kxe_bp_header* header, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));
int kxe_bp_other(int code, const void* data, unsigned len);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* KXE_BPSDK_H */
