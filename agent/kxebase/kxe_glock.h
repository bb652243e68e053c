/* Named machine-wide lock. */
#ifndef KXE_GLOCK_H
#define KXE_GLOCK_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct kxe_glock kxe_glock;

int kxe_glock_init(const char* name, kxe_glock** lock);
int kxe_glock_acquire_timeout(kxe_glock* lock, unsigned timeout_ms);
void kxe_glock_release(kxe_glock* lock);
void kxe_glock_destroy(kxe_glock* lock);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* KXE_GLOCK_H */
