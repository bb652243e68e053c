// A lock's handle and its owner.
#ifndef KXEPINFO_TESTS_LOCK_HANDLE_H
#define KXEPINFO_TESTS_LOCK_HANDLE_H

#include <gtest/gtest.h>

#include "kxe_glock.h"

class LockHandle {
  public:
    explicit LockHandle(const char* name) { EXPECT_EQ(kxe_glock_init(name, &lock_), 0); }
    ~LockHandle() { Reset(); }
    LockHandle(const LockHandle&) = delete;
    LockHandle& operator=(const LockHandle&) = delete;

    kxe_glock* Get() const { return lock_; }
    void Reset() {
        kxe_glock_destroy(lock_);
        lock_ = nullptr;
    }

  private:
    kxe_glock* lock_ = nullptr;
};

#endif  // KXEPINFO_TESTS_LOCK_HANDLE_H
