/* Named machine-wide lock: at most one handle of an installation's processes holds a name's lock at
 * a time.
 *
 * A lock is a file in "@/../var/run/lock/" ("@" being the directory of the running executable) that
 * is locked with flock(2), so the kernel frees it when its holder ends, however that happens. The
 * file stays when nobody holds the lock; when it is removed it is made anew, and who waits goes
 * over to the new one.
 *
 * Handles exclude each other also within one process. A handle may be used by one thread at a time,
 * on any thread. A child process made by fork shares the parent's handles until it calls exec: what
 * one of the two releases is released for both, and the lock of a parent that died stays with such
 * a child. Nothing throws. */
#ifndef KXE_GLOCK_H
#define KXE_GLOCK_H

#pragma GCC visibility push(default)
#ifdef __cplusplus
extern "C" {
#endif

typedef struct kxe_glock kxe_glock;

/* Makes a handle for the lock of that name, and its file and directory when they are missing. The
 * lock is not acquired. The name is any text of at least one byte; it is copied. The caller owns
 * the handle and gives it back with kxe_glock_destroy.
 *
 * Returns 0, or an errno value with a null handle: EINVAL for null arguments or an empty name,
 * ENAMETOOLONG for a name whose file name would be longer than 255 bytes (each byte other than
 * letters, digits, '-', '_' and '.' counts three times), ENOMEM, or that of mkdir or open. */
int kxe_glock_init(const char* name, kxe_glock** lock);

/* Waits until the lock is acquired, at most `timeout_ms` milliseconds of a clock that nobody can
 * set; with 0 it is tried once. Who waits looks again after 1, 2, 4 and so on up to 50 ms, in no
 * order among several waiters.
 *
 * Returns 0, ETIMEDOUT, EDEADLK when this handle holds the lock already, EINVAL for a null handle,
 * or the errno value of open or flock. */
int kxe_glock_acquire_timeout(kxe_glock* lock, unsigned timeout_ms);

/* Frees the lock. Harmless when this handle does not hold it and for a null handle. */
void kxe_glock_release(kxe_glock* lock);

/* Frees the lock when this handle holds it, and the handle; null is allowed. */
void kxe_glock_destroy(kxe_glock* lock);

#ifdef __cplusplus
}
#endif
#pragma GCC visibility pop

#endif /* KXE_GLOCK_H */
